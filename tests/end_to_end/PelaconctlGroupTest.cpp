// pelaconctl group against the real service.
#include <tests/support/ServiceProcess.h>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

namespace pelacon::test {

namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

using Arguments = std::vector<std::string>;

/// Exit codes, as --help lists them.
constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kUsage = 2;
constexpr int kNoAnswer = 4;
constexpr int kRadioOff = 5;
constexpr int kInterrupted = 130;

constexpr char kGroupWorld[] = R"({
    "wifi": {"address": "12:34:56:78:9A:BC", "connected": {"ssid": "Home", "channel": 36},
             "channels": [{"channel": 6, "load": 10}, {"channel": 36, "load": 20},
                          {"channel": 149, "load": 5}]},
    "group": {"ssid": "DIRECT-xy", "passPhrase": "eight letters", "ipAddress": "10.0.0.1",
              "address": "AA:BB:CC:DD:EE:0F", "creation": {"ms": 5}, "removeMs": 5},
    "wifiCards": {"cards": ["on", "off"], "coexistence": "one+two",
                  "interfaces": [
                      {"name": "wlan0", "guid": "{00000000-0000-0000-0000-00000000000A}"}]}})";

constexpr char kSlowWorld[] = R"({"group": {"creation": {"ms": 600000}}})";

class PelaconctlGroup : public ::testing::Test {
  protected:
    void StartService(const std::string& world) { service_.emplace(world); }

    /// The output of `group ...`, which is expected to succeed.
    static std::string OutputOf(Arguments arguments)
    {
        const CommandResult result = Run(std::move(arguments));
        EXPECT_EQ(result.exitCode, kDone) << result.errors;
        return result.output;
    }
    /// The same with --json, parsed.
    static nlohmann::json Reported(Arguments arguments)
    {
        arguments.emplace_back("--json");
        const std::string output = OutputOf(std::move(arguments));
        EXPECT_EQ(std::count(output.begin(), output.end(), '\n'), 1) << output;
        return nlohmann::json::parse(output);
    }
    static void ExpectFailure(Arguments arguments, int exitCode, const std::string& sentence)
    {
        const CommandResult result = Run(std::move(arguments));
        EXPECT_EQ(result.exitCode, exitCode);
        EXPECT_THAT(result.errors, HasSubstr(sentence));
        EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1);
        EXPECT_THAT(result.output, IsEmpty());
    }
    void Join(const char* address)
    {
        service_->Command({{"command", "group.join"}, {"address", address}});
    }
    void Fault(const char* request, const char* what)
    {
        service_->Command(
            {{"command", "fault.add"}, {"fault", {{"request", request}, {"do", what}}}});
    }
    nlohmann::json Status() const { return service_->Command({{"command", "status"}})["group"]; }
    bool IsBeingMade() const { return Status()["beingMade"].get<bool>(); }

    /// Starts `group ...` without waiting for its end.
    static ChildProcess& Started(Arguments arguments, bool terminal,
                                 std::optional<ChildProcess>& process)
    {
        arguments.insert(arguments.begin(), "group");
        ChildProcess::Options options;
        options.terminal = terminal;
        options.environment = {"TERM=xterm"};
        return process.emplace(PelaconctlPath(), arguments, options);
    }

    ServiceProcess& Service() { return *service_; }

  private:
    static CommandResult Run(Arguments arguments)
    {
        arguments.insert(arguments.begin(), "group");
        return Pelaconctl(arguments);
    }

    std::optional<ServiceProcess> service_{kGroupWorld};
};

TEST_F(PelaconctlGroup, CreatesDescribesAndRemovesAGroup)
{
    EXPECT_THAT(OutputOf({"info"}), AllOf(HasSubstr("There is no group."), HasSubstr("5180 MHz")));
    EXPECT_THAT(
        OutputOf({"create", "--channel", "149"}),
        AllOf(HasSubstr("There is a group on channel 149."), HasSubstr("DIRECT-xy"),
              HasSubstr("eight letters"), HasSubstr("AA:BB:CC:DD:EE:0F"), HasSubstr("10.0.0.1")));
    const nlohmann::json info = Reported({"info"});
    EXPECT_EQ(info["exists"], true);
    EXPECT_EQ(info["ssid"], "DIRECT-xy");
    EXPECT_EQ(info["passPhrase"], "eight letters");
    EXPECT_EQ(info["address"], "AA:BB:CC:DD:EE:0F");
    EXPECT_EQ(info["ipAddress"], "10.0.0.1");
    EXPECT_EQ(info["channel"], 149);
    EXPECT_EQ(info["stations"], 0);
    EXPECT_EQ(info["wifi"], true);
    EXPECT_EQ(info["frequency"], 5745);
    EXPECT_EQ(info["adapter"], "12:34:56:78:9A:BC");
    ExpectFailure({"create"}, kFailed, "There is a group already");
    EXPECT_EQ(Reported({"remove"})["removed"], true);
    ExpectFailure({"remove"}, kFailed, "There is no group");
    ExpectFailure({"create", "--channel", "40"}, kFailed, "may not use channel 40");
}

TEST_F(PelaconctlGroup, ListsStations)
{
    ExpectFailure({"stations"}, kFailed, "There is no group");
    OutputOf({"create"});
    EXPECT_THAT(OutputOf({"stations"}), HasSubstr("No station"));
    Join("0A:0B:0C:0D:0E:0F");
    Join("00:00:00:00:00:01");
    EXPECT_EQ(OutputOf({"stations"}), "0A:0B:0C:0D:0E:0F  10.0.0.2\n00:00:00:00:00:01  10.0.0.3\n");
    EXPECT_EQ(Reported({"info"})["stations"], 2);
}

TEST_F(PelaconctlGroup, ListsAndRecommendsChannels)
{
    EXPECT_EQ(OutputOf({"channels"}), "36 149\n");
    EXPECT_EQ(Reported({"channels"})["channels"], nlohmann::json({36, 149}));
    EXPECT_EQ(Reported({"recommend"})["channel"], 36) << "the connection's";
    EXPECT_EQ(Reported({"recommend", "--band", "2.4"})["channel"], 6);
    const nlohmann::json best =
        Reported({"recommend", "6,149", "36,149", "--bandwidth", "40", "--band", "5"});
    EXPECT_EQ(best["channel"], 149);
    EXPECT_EQ(best["frequency"], 5745);
    EXPECT_EQ(best["bandwidth"], 40);
    EXPECT_EQ(best["load"], 5);
    EXPECT_EQ(best["satisfied"], 2);
    EXPECT_EQ(best["sides"], 2);
    EXPECT_THAT(OutputOf({"recommend", "149", "6"}), HasSubstr("suits 1 of 2"));
    ExpectFailure({"recommend", "40,44"}, kFailed, "no channel that suits any side");
}

TEST_F(PelaconctlGroup, RefusesInvalidValues)
{
    for (const char* side : {"x", "36,", ",36", "36,,40", "36;40", "99999999999",
                             "1,2,3,4,5,6,7,8,9,10,11,12,13,14,15"}) {
        ExpectFailure({"recommend", side}, kUsage, "is not a list of channels");
    }
    Arguments many(12, "36");
    many[0] = "recommend";
    ExpectFailure(many, kUsage, "at most ten sides");
    ExpectFailure({"recommend", "--band", "6"}, kUsage, "");
    ExpectFailure({"config", "nobody"}, kUsage, "");
    ExpectFailure({"config", "owner", "--set", std::string(513, 'x')}, kUsage, "at most 512 bytes");
    ExpectFailure({"config", "owner", "--set-hex", "0g"}, kUsage, "is not hexadecimal");
    ExpectFailure({"config", "owner", "--set", "a", "--set-hex", "00"}, kUsage, "");
    ExpectFailure({"interface", "--scene", "1"}, kUsage, "");
    ExpectFailure({"create", "--channel", "x"}, kUsage, "");
    ExpectFailure({"create", "--channel", "-1"}, kUsage, "");
    ExpectFailure({"watch", "--seconds", "-1"}, kUsage, "");
}

TEST_F(PelaconctlGroup, ShowsAndSetsConfigurations)
{
    EXPECT_EQ(OutputOf({"config", "owner"}), "role=owner;address=123456789abc;channels=6,36,149\n");
    EXPECT_EQ(Reported({"config", "station", "--set-hex", "00 ff 10"})["data"], "00ff10");
    EXPECT_EQ(OutputOf({"config", "station"}), "00ff10\n") << "no text";
    EXPECT_EQ(OutputOf({"config", "station", "--set", std::string(512, 'x')}),
              "Other programs now read it as their own configuration.\n");
    EXPECT_EQ(OutputOf({"config", "station"}), std::string(512, 'x') + '\n');
}

TEST_F(PelaconctlGroup, DescribesInterfaces)
{
    EXPECT_EQ(OutputOf({"interface"}), "Coexistence: one+two\n");
    EXPECT_EQ(OutputOf({"interface", "wlan0"}), "{00000000-0000-0000-0000-00000000000A}\n");
    EXPECT_EQ(Reported({"interface", "wlan0", "--scene", "5"})["guid"],
              "{00000000-0000-0000-0000-00000000000A}");
    EXPECT_EQ(Service().Command({{"command", "status"}})["wifiConfig"]["scene wlan0"], 5);
    ExpectFailure({"interface", "eth0"}, kFailed, "There is no interface \"eth0\".");
}

TEST_F(PelaconctlGroup, HoldsTheSharedLink)
{
    OutputOf({"create"});
    std::optional<ChildProcess> holder;
    Started({"hold"}, false, holder);
    ASSERT_TRUE(holder->WaitForOutput("Holding"));
    ExpectFailure({"remove"}, kFailed, "Other programs use the group's link");
    holder->Interrupt();
    EXPECT_EQ(holder->Wait(), kDone) << holder->Errors();
    OutputOf({"remove"});
    EXPECT_THAT(OutputOf({"hold", "--seconds", "0"}), HasSubstr("The link was released."));
}

TEST_F(PelaconctlGroup, WatchPrintsEveryChange)
{
    std::optional<ChildProcess> watcher;
    Started({"watch", "--json"}, false, watcher);
    ASSERT_TRUE(Eventually([&] { return Status()["listeners"] == 1; }));
    ASSERT_TRUE(Eventually([&] {
        return Service().Command({{"command", "status"}})["wifiConfig"]["cardListeners"] == 1;
    }));
    const auto next = [&] {
        const auto line = watcher->NextLine();
        return nlohmann::json::parse(line.value_or("null"));
    };
    OutputOf({"create"});
    nlohmann::json event = next();
    EXPECT_EQ(event["event"], "group");
    EXPECT_EQ(event["exists"], true);
    EXPECT_TRUE(event.contains("time"));
    Join("00:00:00:00:00:01");
    event = next();
    EXPECT_EQ(event["event"], "station");
    EXPECT_EQ(event["address"], "00:00:00:00:00:01");
    EXPECT_EQ(event["ipAddress"], "10.0.0.2");
    EXPECT_EQ(event["joined"], true);
    OutputOf({"config", "owner", "--set", "hello"});
    event = next();
    EXPECT_EQ(event["event"], "config");
    EXPECT_EQ(event["role"], "owner");
    EXPECT_EQ(event["data"], "68656c6c6f");
    Service().Command({{"command", "wifi.card"}, {"card", 1}, {"state", "on"}});
    event = next();
    EXPECT_EQ(event["event"], "card");
    EXPECT_EQ(event["card"], 1);
    EXPECT_EQ(event["state"], "on");
    watcher->Interrupt();
    EXPECT_EQ(watcher->Wait(), kDone) << watcher->Errors();
}

TEST_F(PelaconctlGroup, WatchPrintsSentences)
{
    std::optional<ChildProcess> watcher;
    Started({"watch"}, false, watcher);
    ASSERT_TRUE(watcher->WaitForOutput("Watching. Press Ctrl-C to stop."));
    OutputOf({"create"});
    EXPECT_TRUE(watcher->WaitForOutput("  group was created\n"));
    Join("00:00:00:00:00:01");
    EXPECT_TRUE(watcher->WaitForOutput("  station 00:00:00:00:00:01 joined, 10.0.0.2\n"));
    OutputOf({"config", "station", "--set", "hello"});
    EXPECT_TRUE(watcher->WaitForOutput("  configuration of station: hello\n"));
    OutputOf({"remove"});
    EXPECT_TRUE(watcher->WaitForOutput("  station 00:00:00:00:00:01 left\n"));
    EXPECT_TRUE(watcher->WaitForOutput("  group was removed\n"));
    watcher->Interrupt();
    EXPECT_EQ(watcher->Wait(), kDone);
    EXPECT_EQ(OutputOf({"watch", "--seconds", "0.01"}), "Watching. Press Ctrl-C to stop.\n");
}

// ---- Commands that take long

TEST_F(PelaconctlGroup, AWaitIsShownOnATerminal)
{
    if (const char* reason = ChildProcess::WhyNoTerminal()) {
        GTEST_SKIP() << reason;
    }
    StartService(kSlowWorld);
    std::optional<ChildProcess> creator;
    Started({"create"}, true, creator);
    EXPECT_TRUE(creator->WaitForOutput("Creating a group"));
    EXPECT_TRUE(creator->WaitForOutput("⠙")) << "it moves";
    EXPECT_TRUE(creator->WaitForOutput("0 s, press Ctrl-C to cancel"));
    creator->Interrupt();
    EXPECT_EQ(creator->Wait(), kInterrupted);
    EXPECT_THAT(creator->Output(), HasSubstr("\r\033[Kpelaconctl: Interrupted"))
        << "the line is cleared before";
}

TEST_F(PelaconctlGroup, AWaitIsNotShownElsewhere)
{
    StartService(R"({"group": {"creation": {"ms": 400}}})");
    EXPECT_THAT(OutputOf({"create"}), Not(HasSubstr("Creating")));
}

TEST_F(PelaconctlGroup, AnInterruptedCreationIsUndone)
{
    StartService(kSlowWorld);
    std::optional<ChildProcess> creator;
    Started({"create"}, false, creator);
    ASSERT_TRUE(Eventually([&] { return IsBeingMade(); }));
    creator->Interrupt();
    EXPECT_EQ(creator->Wait(), kInterrupted);
    EXPECT_THAT(creator->Errors(), HasSubstr("Interrupted: there is no group."));
    EXPECT_FALSE(IsBeingMade());
    EXPECT_EQ(Status()["exists"], false);
}

TEST_F(PelaconctlGroup, AnUnansweredCreationIsUndone)
{
    Fault("Vod2dCreateGroup", "empty");
    ExpectFailure({"create"}, kNoAnswer, "did not create a group in time");
    StartService(kGroupWorld);
    Service().Command(
        {{"command", "fault.add"},
         {"fault", {{"request", "Vod2dCreateGroup"}, {"do", "empty"}, {"perform", true}}}});
    ExpectFailure({"create"}, kNoAnswer, "the request was cancelled");
    EXPECT_EQ(Status()["exists"], false);
}

TEST_F(PelaconctlGroup, FailuresHaveTheirExitCodes)
{
    Fault("Vod2dGetGroupConfig", "empty");
    ExpectFailure({"info"}, kNoAnswer,
                  "did not answer the request to read the group's configuration");
    Fault("Vod2dRemoveGroup", "empty");
    ExpectFailure({"remove"}, kNoAnswer, "did not answer the request to remove the group");
    Fault("Vod2dGetRecommendChannel", "empty");
    ExpectFailure({"recommend"}, kNoAnswer, "did not answer");
    StartService(R"({"wifi": {"on": false}})");
    ExpectFailure({"create"}, kRadioOff, "the radio is off");
}

}  // namespace

}  // namespace pelacon::test
