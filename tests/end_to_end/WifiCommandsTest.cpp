// pelaconctl ap, wifi and errors.
#include <tests/end_to_end/SystemWlan.h>
#include <tests/support/ServiceProcess.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace pelacon::test {

namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::StartsWith;

using Arguments = std::vector<std::string>;

constexpr int kFailed = 1;
constexpr int kUsage = 2;
constexpr int kNoService = 3;
constexpr int kNoAnswer = 4;
constexpr int kRadioOff = 5;
constexpr int kInterrupted = 130;

constexpr char kWifiWorld[] = R"({
    "wifi": {"switchMs": 1, "channels": [{"channel": 1}, {"channel": 6}, {"channel": 149}],
             "connected": {"ssid": "Home", "channel": 149}},
    "softAp": {"ssid": "Desk AP", "passPhrase": "eight letters", "address": "AA:BB:CC:DD:EE:0F",
               "ipAddress": "10.0.0.1", "creation": {"ms": 1}, "removeMs": 1},
    "phone": {"model": "Phone 9", "channels": [6, 149], "connectionChannel": 6}})";

class WifiCommands : public ::testing::Test {
  protected:
    /// The output of a command with --json, parsed.
    static nlohmann::json Report(Arguments arguments)
    {
        arguments.emplace_back("--json");
        const CommandResult result = Pelaconctl(arguments);
        EXPECT_EQ(result.exitCode, 0) << result.errors;
        return nlohmann::json::parse(result.output, nullptr, false);
    }
    static std::string OutputOf(const Arguments& arguments)
    {
        const CommandResult result = Pelaconctl(arguments);
        EXPECT_EQ(result.exitCode, 0) << result.errors;
        return result.output;
    }
    static void ExpectFailure(const Arguments& arguments, int exitCode, const std::string& sentence)
    {
        SCOPED_TRACE(::testing::PrintToString(arguments));
        const CommandResult result = Pelaconctl(arguments);
        EXPECT_EQ(result.exitCode, exitCode);
        EXPECT_THAT(result.errors, HasSubstr(sentence));
        EXPECT_EQ(result.output, "");
    }
    /// The next line of a command that watches, without its time.
    static nlohmann::json Next(ChildProcess& watch)
    {
        const auto line = watch.NextLine();
        if (!line) {
            ADD_FAILURE() << "nothing more: " << watch.Errors();
            return {};
        }
        nlohmann::json record = nlohmann::json::parse(*line, nullptr, false);
        EXPECT_TRUE(record.contains("time")) << *line;
        record.erase("time");
        return record;
    }
    /// Waits until the service has a listener registered.
    void WaitForListener(const char* family, const char* kind)
    {
        EXPECT_TRUE(Eventually([&] {
            return service->Command({{"command", "status"}})[family][kind] == 1;
        })) << family;
    }
    void RestartWith(const std::string& world)
    {
        service.reset();
        service.emplace(world);
    }

    std::optional<ServiceProcess> service{std::in_place, kWifiWorld};
};

// ---- ap

TEST_F(WifiCommands, ApIsCreatedDescribedAndDestroyed)
{
    EXPECT_EQ(Report({"ap", "create", "--band", "5", "--purpose", "1"}),
              nlohmann::json::parse(R"({"ssid": "Desk AP", "passPhrase": "eight letters",
                  "address": "AA:BB:CC:DD:EE:0F", "ipAddress": "10.0.0.1", "channel": 149})"));
    const nlohmann::json status = Report({"ap", "status"});
    EXPECT_EQ(status["exists"], true);
    EXPECT_EQ(status["ssid"], "Desk AP");
    EXPECT_EQ(status["channel"], 149);
    EXPECT_EQ(status["adapter"]["index"], 2);
    EXPECT_EQ(status["lastError"], 0);
    EXPECT_THAT(OutputOf({"ap", "status"}), HasSubstr("There is a soft AP on channel 149."));
    ExpectFailure({"ap", "create"}, kFailed, "There is a soft AP already");
    ExpectFailure({"ap", "destroy", "--purpose", "2"}, kFailed, "created for another purpose");
    EXPECT_EQ(OutputOf({"ap", "destroy", "--purpose", "1"}), "The soft AP was destroyed.\n");
    ExpectFailure({"ap", "destroy"}, kFailed, "There is no soft AP.");
    EXPECT_THAT(
        OutputOf({"ap", "status"}),
        AllOf(HasSubstr("There is no soft AP."), HasSubstr("Last result  there was no soft AP\n")));
}

TEST_F(WifiCommands, ApChangesItsBand)
{
    ExpectFailure({"ap", "move", "5"}, kFailed, "There is no soft AP.");
    ExpectFailure({"ap", "move", "6"}, kUsage, "6");
    Report({"ap", "create", "--band", "2.4"});
    EXPECT_EQ(Report({"ap", "move", "5", "--dry-run"}),
              nlohmann::json::parse(R"({"channel": 149, "frequency": 5745})"));
    EXPECT_EQ(Report({"ap", "refresh"})["channel"], 6);
    EXPECT_EQ(Report({"ap", "move", "5"})["channel"], 149);
    Report({"wifi", "phone", "--clear", "--add", "149"});
    ExpectFailure({"ap", "move", "2.4"}, kFailed, "still on channel 149");
}

TEST_F(WifiCommands, ApIsRenamedAndItsAdapterRestarted)
{
    const nlohmann::json renamed = Report({"ap", "rename"});
    EXPECT_THAT(renamed["ssid"].get<std::string>(), StartsWith("Pelacon-"));
    EXPECT_EQ(Report({"ap", "create"})["ssid"], renamed["ssid"]);
    EXPECT_EQ(Report({"ap", "restart", "--wake-up"}),
              nlohmann::json::parse(R"({"restarts": 1, "wakeUpRestarts": 1})"));
    EXPECT_EQ(Report({"ap", "status"})["exists"], false);
    EXPECT_EQ(Report({"ap", "restart", "--reset-count"})["wakeUpRestarts"], 0);
    OutputOf({"wifi", "off"});
    ExpectFailure({"ap", "restart"}, kRadioOff, "did not restart");
    ExpectFailure({"ap", "create"}, kRadioOff, "Wi-Fi is off");
}

TEST_F(WifiCommands, ApShowsAndSetsTheDevice)
{
    EXPECT_EQ(Report({"ap", "device"})["model"], "Phone 9");
    EXPECT_EQ(Report({"ap", "device", "--model", "Phone 10", "--types", "phone,tablet",
                      "--restart-hotspot", "on"}),
              nlohmann::json::parse(R"({"model": "Phone 10", "restartHotspot": true})"));
    ExpectFailure({"ap", "device", "--model", std::string(256, 'x')}, kUsage, "255 bytes");
    ExpectFailure({"ap", "device", "--types", std::string(65, 'x')}, kFailed, "did not accept");
}

TEST_F(WifiCommands, ApIsWatched)
{
    ChildProcess watch(PelaconctlPath(), {"ap", "watch", "--json"});
    WaitForListener("softAp", "connectionListeners");
    Report({"ap", "create", "--band", "5"});
    EXPECT_EQ(Next(watch), nlohmann::json::parse(R"({"event": "advertisement", "status": 1,
                                                     "ssid": "Desk AP", "channel": 149})"));
    service->Command({{"command", "softap.join"}, {"address", "02:00:00:00:00:01"}});
    EXPECT_EQ(Next(watch), nlohmann::json::parse(R"({"event": "device", "connected": true})"));
    EXPECT_EQ(Next(watch), nlohmann::json::parse(R"({"event": "connection", "status": 1})"));
    watch.Interrupt();
    EXPECT_EQ(watch.Wait(), 0);
}

TEST_F(WifiCommands, ApIsWatchedThroughARestartOfTheService)
{
    ChildProcess watch(PelaconctlPath(), {"ap", "watch", "--json"});
    WaitForListener("softAp", "connectionListeners");
    service->Restart();
    WaitForListener("softAp", "connectionListeners");
    WaitForListener("softAp", "listeners");
    EXPECT_EQ(Next(watch)["state"], "lost");
    EXPECT_EQ(Next(watch)["state"], "restarted");
    EXPECT_EQ(Next(watch)["status"], 0) << "the state after the restart";
    EXPECT_EQ(Next(watch)["connected"], false);
    EXPECT_EQ(Next(watch)["event"], "connection");
    Report({"ap", "create", "--band", "5"});
    EXPECT_EQ(Next(watch)["channel"], 149);
}

TEST_F(WifiCommands, AnInterruptedCreationIsUndone)
{
    RestartWith(R"({"softAp": {"creation": {"ms": 60000}}})");
    ChildProcess create(PelaconctlPath(), {"ap", "create"});
    const auto beingMade = [&] {
        return service->Command({{"command", "status"}})["softAp"]["beingMade"] == true;
    };
    EXPECT_TRUE(Eventually(beingMade));
    create.Interrupt();
    EXPECT_EQ(create.Wait(), kInterrupted);
    EXPECT_FALSE(beingMade());
}

TEST_F(WifiCommands, AnApThatAnotherProgramDestroyedIsNotThere)
{
    RestartWith(R"({"softAp": {"creation": {"ms": 60000}}})");
    ChildProcess create(PelaconctlPath(), {"ap", "create"});
    EXPECT_TRUE(Eventually([&] {
        return service->Command({{"command", "status"}})["softAp"]["beingMade"] == true;
    }));
    OutputOf({"ap", "destroy"});
    EXPECT_EQ(create.Wait(), kFailed);
    EXPECT_THAT(create.Errors(), HasSubstr("before the soft AP was ready"));
}

TEST_F(WifiCommands, AFailedCreationGivesTheReason)
{
    RestartWith(R"({"softAp": {"creation": {"ms": 1, "fails": true}}})");
    ExpectFailure({"ap", "create"}, kFailed, "not possible");
}

// ---- wifi

TEST_F(WifiCommands, WifiIsSwitched)
{
    EXPECT_EQ(Report({"wifi", "status"}),
              nlohmann::json::parse(R"({"state": "on", "connected": true, "ssid": "Home",
                                        "channel": 149, "frequency": 5745})"));
    EXPECT_EQ(OutputOf({"wifi", "off"}), "Wi-Fi is off.\n");
    EXPECT_EQ(OutputOf({"wifi", "off"}), "Wi-Fi is off already.\n");
    EXPECT_EQ(OutputOf({"wifi", "status"}), "Wi-Fi is off, and not connected.\n");
    EXPECT_EQ(Report({"wifi", "on"})["state"], "on");
}

TEST_F(WifiCommands, ASwitchThatTakesTooLongFails)
{
    RestartWith(R"({"wifi": {"switchMs": 60000}})");
    ExpectFailure({"wifi", "off", "--wait", "0.05"}, kNoAnswer, "Wi-Fi is still on");
    RestartWith(R"({"wifi": {"on": false}, "wifiCards": {"cards": ["absent"]}})");
    ExpectFailure({"wifi", "on"}, kFailed, "no Wi-Fi adapter");
}

TEST_F(WifiCommands, WifiChannelsAreListed)
{
    EXPECT_EQ(Report({"wifi", "channels"}), nlohmann::json::parse(R"({
        "pc": {"channels24G": [1, 6], "channels5G": [149], "current": 149},
        "phone": {"channels24G": [6], "channels5G": [149], "current": 6}})"));
    EXPECT_EQ(Report({"wifi", "channel", "6"}),
              nlohmann::json::parse(R"({"channel": 6, "band": "2.4", "frequency": 2437})"));
    ExpectFailure({"wifi", "channel", "15"}, kFailed, "There is no channel 15");
}

TEST_F(WifiCommands, WifiStoresThePhonesChannels)
{
    EXPECT_EQ(
        Report(
            {"wifi", "phone", "--clear", "--add", "36,1", "--current", "0", "--check-5g"})["phone"],
        nlohmann::json::parse(R"({"channels24G": [1], "channels5G": [36], "current": null})"));
    ExpectFailure({"wifi", "phone", "--clear", "--add", "6,15"}, kFailed, "There is no channel 15");
    ExpectFailure({"wifi", "phone", "--clear", "--current", "15"}, kFailed,
                  "There is no channel 15");
    EXPECT_EQ(Report({"wifi", "phone"})["phone"],
              nlohmann::json::parse(R"({"channels24G": [1], "channels5G": [36], "current": null})"))
        << "nothing was changed";
}

TEST_F(WifiCommands, WifiIsWatched)
{
    ChildProcess watch(PelaconctlPath(), {"wifi", "watch", "--json"});
    WaitForListener("wifi", "channelListeners");
    OutputOf({"wifi", "off"});
    EXPECT_EQ(Next(watch), nlohmann::json::parse(R"({"event": "switch", "state": "off"})"));
    service->Command({{"command", "phone.channel"}, {"channel", 36}});
    EXPECT_EQ(Next(watch), nlohmann::json::parse(R"({"event": "phone", "channel": 36})"));
    watch.Interrupt();
    EXPECT_EQ(watch.Wait(), 0);
}

TEST_F(WifiCommands, WifiScansWithoutTheService)
{
    service.reset();
    if (SystemHasWlan()) {
        EXPECT_EQ(Report({"wifi", "scan"}), nlohmann::json::parse(R"({"requested": true})"));
    } else {
        ExpectFailure({"wifi", "scan"}, kFailed, "no Wi-Fi interface");
    }
}

// ---- errors

TEST_F(WifiCommands, ErrorsAreWatched)
{
    ChildProcess watch(PelaconctlPath(), {"errors", "watch", "--json"});
    EXPECT_TRUE(Eventually([&] {
        service->Command({{"command", "error"}, {"code", 0x20000000}});
        return !watch.Output().empty();
    }));
    const auto first = nlohmann::json::parse(R"({"code": 536870912, "message": "ble send fail"})");
    EXPECT_EQ(Next(watch), first);
    service->Command({{"command", "error"}, {"code", 5}});
    nlohmann::json last = first;
    while (last == first) {
        last = Next(watch);
    }
    EXPECT_EQ(last, nlohmann::json::parse(R"({"code": 5, "message": "unknow"})"));
    watch.Interrupt();
    EXPECT_EQ(watch.Wait(), 0) << "with the notifier's worker alive: " << watch.Errors();
}

TEST_F(WifiCommands, ErrorsHaveTexts)
{
    EXPECT_EQ(OutputOf({"errors", "text", "268435457"}), "0x10000001  go already exist\n");
    EXPECT_EQ(OutputOf({"errors", "text", "0x20000000"}), "0x20000000  ble send fail\n");
    EXPECT_EQ(Report({"errors", "text", "-1"}),
              nlohmann::json::parse(R"({"code": -1, "message": "unknow"})"));
}

// ---- All of them

TEST_F(WifiCommands, FailWithAMessageWithoutAService)
{
    service.reset();
    for (const Arguments& arguments : std::vector<Arguments>{{"ap", "create"},
                                                             {"ap", "destroy"},
                                                             {"ap", "status"},
                                                             {"ap", "watch"},
                                                             {"ap", "move", "5"},
                                                             {"ap", "refresh"},
                                                             {"ap", "rename"},
                                                             {"ap", "restart"},
                                                             {"ap", "device"},
                                                             {"wifi", "status"},
                                                             {"wifi", "on"},
                                                             {"wifi", "channels"},
                                                             {"wifi", "channel", "6"},
                                                             {"wifi", "phone"},
                                                             {"wifi", "watch"},
                                                             {"errors", "watch"}}) {
        ExpectFailure(arguments, kNoService, "PelaconService is not running.");
    }
}

TEST_F(WifiCommands, FailWithAMessageWithoutAnAnswer)
{
    for (const char* request : {"GetSoftApError", "GetWifiState", "SystemDestroySoftAP",
                                "GetPCSupportChannelList", "SystemCreateSoftAP"}) {
        service->Command(
            {{"command", "fault.add"}, {"fault", {{"request", request}, {"do", "empty"}}}});
    }
    ExpectFailure({"ap", "status"}, kNoAnswer, "did not answer");
    ExpectFailure({"ap", "destroy"}, kNoAnswer, "did not answer");
    ExpectFailure({"ap", "create"}, kNoAnswer, "in time");
    ExpectFailure({"wifi", "status"}, kNoAnswer, "did not answer");
    ExpectFailure({"wifi", "channels"}, kNoAnswer, "did not answer");
}

}  // namespace

}  // namespace pelacon::test
