// pelaconctl gatt against the real service: as a client of devices, and as a server.
#include <tests/support/ServiceProcess.h>
#include <tests/support/TemporaryFolder.h>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <string>
#include <vector>

namespace pelacon::test {

namespace {

using nlohmann::json;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr auto kHere = "0A:0B:0C:0D:0E:0F";
constexpr auto kStrapAddress = "C0:00:00:00:00:01";
constexpr auto kRefusingAddress = "C0:00:00:00:00:02";
constexpr auto kLeaving = "C0:00:00:00:00:03";
constexpr auto kFar = "C0:00:00:00:00:04";
constexpr auto kBare = "C0:00:00:00:00:05";
constexpr auto kAbsentDevice = "C0:FF:FF:FF:FF:FF";

constexpr auto kWorld = R"({
    "adapter": {"address": "0A:0B:0C:0D:0E:0F", "turnOnMs": 1, "turnOffMs": 1},
    "gatt": {"connectMs": 1},
    "peripherals": [
        {"address": "C0:00:00:00:00:01", "gatt": {"connectMs": 1, "mtu": 100, "services": [
            {"uuid": "180d", "characteristics": [
                {"uuid": "2a37", "flags": ["notify"], "notifyMs": 1,
                 "notifyValues": ["0048", "0049"]},
                {"uuid": "2a38", "flags": ["read", "write"], "value": {"text": "wrist"}}]},
            {"uuid": "180f"}, {"uuid": "5e1ac0de-0001-4000-8000-000000000000"}]}},
        {"address": "C0:00:00:00:00:02", "gatt": {"connectMs": 1, "refuse": true}},
        {"address": "C0:00:00:00:00:03", "gatt": {"connectMs": 1,
         "disconnect": {"afterMs": 150},
         "services": [{"uuid": "180d", "characteristics": [{"uuid": "2a37", "flags": ["notify"]}]}]}},
        {"address": "C0:00:00:00:00:04", "gatt": {"connectMs": 60000}},
        {"address": "C0:00:00:00:00:05", "gatt": {"connectMs": 1}}
    ]})";

constexpr auto kServed = R"({"services": [
    {"uuid": "180D", "characteristics": [
        {"uuid": "2A37", "flags": ["read", "notify"], "value": "0048"},
        {"uuid": "2A39", "flags": ["read", "write"]}]},
    {"uuid": "180F", "characteristics": [{"uuid": "2A39", "value": "01"}]}]})";

class GattCommand : public ::testing::Test {
  protected:
    GattCommand() { std::ofstream(file) << kServed; }

    static CommandResult Gatt(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), "gatt");
        return Pelaconctl(arguments);
    }
    /// The output of a command that is expected to succeed.
    static std::string OutputOf(const std::vector<std::string>& arguments)
    {
        const CommandResult result = Gatt(arguments);
        EXPECT_EQ(result.exitCode, 0) << result.errors;
        EXPECT_THAT(result.errors, IsEmpty());
        return result.output;
    }
    static json OutputInJson(std::vector<std::string> arguments)
    {
        arguments.emplace_back("--json");
        return json::parse(OutputOf(arguments));
    }
    static void ExpectFailure(const std::vector<std::string>& arguments, int exitCode,
                              const std::string& sentence)
    {
        SCOPED_TRACE(::testing::PrintToString(arguments));
        const CommandResult result = Gatt(arguments);
        EXPECT_EQ(result.exitCode, exitCode);
        EXPECT_THAT(result.errors, HasSubstr(sentence));
        EXPECT_THAT(result.output, IsEmpty());
    }

    /// Starts pelaconctl gatt serve.
    ChildProcess Serving(std::vector<std::string> more = {})
    {
        more.insert(more.begin(), {"gatt", "serve", file});
        ChildProcess::Options options;
        options.input = true;
        return ChildProcess(PelaconctlPath(), more, options);
    }

    ServiceProcess service{kWorld};
    TemporaryFolder folder;
    std::string file = folder.File("served.json");
};

TEST_F(GattCommand, ServicesAreSearchedOneByOne)
{
    const std::string text = OutputOf({"services", kStrapAddress});
    EXPECT_THAT(text, AllOf(HasSubstr("180D  Heart Rate\n"), HasSubstr("180F  Battery\n"),
                            Not(HasSubstr("5e1ac0de")), HasSubstr("cannot be asked for a list")));
    const json output = OutputInJson({"services", kStrapAddress, "--uuid",
                                      "5E1AC0DE-0001-4000-8000-000000000000", "--uuid", "1234"});
    EXPECT_EQ(output["address"], kStrapAddress);
    ASSERT_EQ(output["services"].size(), 3U);
    EXPECT_EQ(output["services"][0], json({{"uuid", "180D"},
                                           {"uuid128", "0000180d-0000-1000-8000-00805f9b34fb"},
                                           {"name", "Heart Rate"}}));
    EXPECT_EQ(output["services"][2]["uuid"], "5e1ac0de-0001-4000-8000-000000000000");
    EXPECT_EQ(output["services"][2]["name"], nullptr);
    EXPECT_THAT(OutputOf({"services", kBare}),
                HasSubstr("No service was found.\nC0:00:00:00:00:05"));
    EXPECT_EQ(OutputInJson({"services", kBare})["services"], json::array());
}

TEST_F(GattCommand, ReadsAndWrites)
{
    EXPECT_EQ(OutputOf({"read", kStrapAddress, "180D", "0x2a38"}), "7772697374 \"wrist\"\n");
    EXPECT_EQ(OutputOf({"write", kStrapAddress, "180D", "2A38", "00 ff"}),
              "180D/2A38 is now 00ff\n");
    EXPECT_EQ(OutputInJson({"read", kStrapAddress, "0000180d-0000-1000-8000-00805f9b34fb", "2a38"}),
              json({{"address", kStrapAddress},
                    {"service", "180D"},
                    {"service128", "0000180d-0000-1000-8000-00805f9b34fb"},
                    {"characteristic", "2A38"},
                    {"characteristic128", "00002a38-0000-1000-8000-00805f9b34fb"},
                    {"value", "00ff"}}));
    EXPECT_EQ(OutputInJson({"write", kStrapAddress, "180D", "2A38", "--text", "hip"})["text"],
              "hip");
    EXPECT_EQ(OutputOf({"write", kStrapAddress, "180D", "2A38", ""}), "180D/2A38 is now (empty)\n");
    EXPECT_EQ(OutputOf({"read", kStrapAddress, "180D", "2A38"}), "(empty)\n");
}

TEST_F(GattCommand, ShowsTheMtu)
{
    EXPECT_EQ(OutputOf({"mtu", kStrapAddress}), "100\n");
    EXPECT_EQ(OutputInJson({"mtu", kStrapAddress}),
              json({{"address", kStrapAddress}, {"mtu", 100}}));
}

TEST_F(GattCommand, SubscribesForACountOfValuesOrSeconds)
{
    const std::string text = OutputOf({"subscribe", kStrapAddress, "180D", "2A37", "--count", "3"});
    EXPECT_THAT(text, AllOf(HasSubstr("  0048\n"), HasSubstr("  0049\n")));
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 4);
    const json output = OutputInJson({"subscribe", kStrapAddress, "180D", "2A37", "--count", "1"});
    EXPECT_THAT(output["value"], ::testing::AnyOf("0048", "0049"));
    EXPECT_EQ(output["indication"], false);
    EXPECT_TRUE(output.contains("time"));
    OutputOf({"subscribe", kStrapAddress, "180D", "2A37", "--seconds", "0.05"});
}

TEST_F(GattCommand, SubscribesUntilCtrlC)
{
    ChildProcess subscriber(PelaconctlPath(), {"gatt", "subscribe", kStrapAddress, "180D", "2A37"});
    EXPECT_TRUE(subscriber.WaitForOutput("  0048\n"));
    subscriber.Interrupt();
    EXPECT_EQ(subscriber.Wait(), 0);
}

TEST_F(GattCommand, CtrlCEndsAnAttemptToConnect)
{
    ChildProcess subscriber(PelaconctlPath(), {"gatt", "subscribe", kFar, "180D", "2A37"});
    EXPECT_TRUE(Eventually([&] {
        return service.Command({{"command", "status"}})["gattClients"]["registered"] == 1;
    }));
    subscriber.Interrupt();
    EXPECT_EQ(subscriber.Wait(), 130);
    EXPECT_THAT(subscriber.Errors(), IsEmpty());
}

TEST_F(GattCommand, FailuresAreSentences)
{
    ExpectFailure({"read", kRefusingAddress, "180D", "2A38"}, 1, "refused the connection.");
    ExpectFailure({"read", kAbsentDevice, "180D", "2A38"}, 1, "No device with the address");
    ExpectFailure({"mtu", kFar, "--wait", "0.05"}, 4, "did not answer in time.");
    ExpectFailure({"read", kStrapAddress, "180D", "2A99"}, 1,
                  "refused to read 180D/2A99: it was not found");
    ExpectFailure({"read", kStrapAddress, "180D", "2A37"}, 1, "not permitted");
    ExpectFailure({"subscribe", kStrapAddress, "180D", "2A38"}, 1, "not permitted");
    ExpectFailure({"read", kStrapAddress, "heart", "2A37"}, 2, "\"heart\" is not a UUID");
    ExpectFailure({"read", "strap", "180D", "2A37"}, 2, "is not an address");
    ExpectFailure({"write", kStrapAddress, "180D", "2A38"}, 2, "A value is missing");
    ExpectFailure({"write", kStrapAddress, "180D", "2A38", "0"}, 2, "hexadecimal");
    ExpectFailure({"write", kStrapAddress, "180D", "2A38", std::string(2050, '0')}, 2, "1,024");
    ExpectFailure({"write", kStrapAddress, "180D", "2A38", "00", "--text", "x"}, 2, "excludes");
    ExpectFailure({"serve", "no/such/file"}, 2, "Cannot read the file");
    EXPECT_EQ(Pelaconctl({"bt", "off"}).exitCode, 0);
    ExpectFailure({"read", kStrapAddress, "180D", "2A38"}, 5, "Bluetooth");
    ExpectFailure({"serve", file}, 5, "Bluetooth");
    service.End();
    ExpectFailure({"read", kStrapAddress, "180D", "2A38"}, 3, "PelaconService");
}

TEST_F(GattCommand, SubscriptionsEndWithTheDevice)
{
    const CommandResult result = Gatt({"subscribe", kLeaving, "180D", "2A37"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.errors, HasSubstr("C0:00:00:00:00:03 ended the connection."));
}

TEST_F(GattCommand, ServesTheServicesOfAFile)
{
    ChildProcess serving = Serving();
    ASSERT_TRUE(serving.WaitForOutput(std::string("Serving under ") + kHere));
    EXPECT_EQ(OutputOf({"read", kHere, "180D", "2A37"}), "0048\n");
    EXPECT_TRUE(serving.WaitForOutput("F0:00:00:00:00:01 connected\n"));
    EXPECT_TRUE(serving.WaitForOutput("F0:00:00:00:00:01 reads 180D/2A37: 0048\n"));
    EXPECT_TRUE(serving.WaitForOutput("F0:00:00:00:00:01 disconnected\n"));
    OutputOf({"write", kHere, "180D", "2A39", "--text", "hello"});
    EXPECT_TRUE(serving.WaitForOutput(" writes 180D/2A39: 68656c6c6f \"hello\"\n"));
    EXPECT_EQ(OutputOf({"read", kHere, "180D", "2A39"}), "68656c6c6f \"hello\"\n");
    serving.Interrupt();
    EXPECT_EQ(serving.Wait(), 0);
    ExpectFailure({"read", kHere, "180D", "2A37"}, 1, "No device with the address");
}

TEST_F(GattCommand, ServesValuesFromItsInput)
{
    ChildProcess serving = Serving();
    ASSERT_TRUE(serving.WaitForOutput("Serving"));
    ChildProcess subscriber(PelaconctlPath(),
                            {"gatt", "subscribe", kHere, "180D", "2A37", "--count", "1"});
    ASSERT_TRUE(subscriber.WaitForOutput("Subscribed"));
    serving.Write("2A37 0050");
    EXPECT_TRUE(serving.WaitForOutput("\n180D/2A37 is now 0050\n"));
    EXPECT_TRUE(subscriber.WaitForOutput("  0050\n"));
    EXPECT_TRUE(serving.WaitForOutput(" was notified\n"));
    EXPECT_EQ(subscriber.Wait(), 0);

    serving.Write("  180f/2a39   \"high up\"  ");
    EXPECT_TRUE(serving.WaitForOutput("\n180F/2A39 is now 68696768207570 \"high up\"\n"));
    EXPECT_EQ(OutputOf({"read", kHere, "180F", "2A39"}), "68696768207570 \"high up\"\n");
    EXPECT_EQ(OutputOf({"read", kHere, "180D", "2A39"}), "(empty)\n");

    serving.Write("");
    serving.Write("2A99 00");
    serving.Write("180F/2A37 00");
    serving.Write("nonsense");
    serving.Write("2A37 0");
    serving.Write("2A37");
    EXPECT_TRUE(serving.WaitForOutput("2A37 is now (empty)\n"));
    serving.Interrupt();
    EXPECT_EQ(serving.Wait(), 0);
    EXPECT_THAT(serving.Errors(),
                AllOf(HasSubstr("There is no characteristic 2A99 to set."),
                      HasSubstr("There is no characteristic 180F/2A37 to set."),
                      HasSubstr("\"nonsense\" is not a UUID"), HasSubstr("hexadecimal")));
}

TEST_F(GattCommand, ServesInJson)
{
    ChildProcess serving = Serving({"--json", "--seconds", "60"});
    EXPECT_EQ(json::parse(*serving.NextLine()), json({{"event", "serving"}, {"address", kHere}}));
    OutputOf({"read", kHere, "180D", "2A37"});
    EXPECT_EQ(json::parse(*serving.NextLine()),
              json({{"event", "connected"}, {"peer", "F0:00:00:00:00:01"}}));
    EXPECT_EQ(json::parse(*serving.NextLine()),
              json({{"event", "mtu"}, {"peer", "F0:00:00:00:00:01"}, {"mtu", 247}}));
    EXPECT_EQ(json::parse(*serving.NextLine()),
              json({{"event", "read"},
                    {"peer", "F0:00:00:00:00:01"},
                    {"service", "180D"},
                    {"service128", "0000180d-0000-1000-8000-00805f9b34fb"},
                    {"characteristic", "2A37"},
                    {"characteristic128", "00002a37-0000-1000-8000-00805f9b34fb"},
                    {"value", "0048"}}));
}

TEST_F(GattCommand, EachSideReportsTheEndOfTheOther)
{
    ChildProcess serving = Serving();
    ASSERT_TRUE(serving.WaitForOutput("Serving"));
    {
        ChildProcess dying(PelaconctlPath(), {"gatt", "subscribe", kHere, "180D", "2A37"});
        ASSERT_TRUE(dying.WaitForOutput("Subscribed"));
        dying.Kill();
    }
    EXPECT_TRUE(serving.WaitForOutput("F0:00:00:00:00:01 disconnected\n"));
    ChildProcess subscriber(PelaconctlPath(), {"gatt", "subscribe", kHere, "180D", "2A37"});
    ASSERT_TRUE(subscriber.WaitForOutput("Subscribed"));
    serving.Kill();
    EXPECT_EQ(subscriber.Wait(), 1);
    EXPECT_THAT(subscriber.Errors(), HasSubstr("0A:0B:0C:0D:0E:0F ended the connection."));
}

TEST_F(GattCommand, ReconnectsAfterARestartOfTheService)
{
    ChildProcess serving = Serving();
    ASSERT_TRUE(serving.WaitForOutput("Serving"));
    serving.Write("2A37 0051");
    ASSERT_TRUE(serving.WaitForOutput("2A37 is now 0051"));
    ChildProcess subscriber(PelaconctlPath(), {"gatt", "subscribe", kHere, "180D", "2A37"});
    ASSERT_TRUE(subscriber.WaitForOutput("Subscribed"));
    service.Restart();
    EXPECT_EQ(subscriber.Wait(), 3);
    EXPECT_THAT(subscriber.Errors(), HasSubstr("PelaconService was restarted"));
    EXPECT_TRUE(serving.WaitForOutput("PelaconService was restarted; serving again.\n"));
    EXPECT_EQ(OutputOf({"read", kHere, "180D", "2A37"}), "0051\n") << "with the values that it had";
}

TEST_F(GattCommand, ReconnectsAfterARestartWhileValuesStream)
{
    ChildProcess serving = Serving();
    ASSERT_TRUE(serving.WaitForOutput("Serving"));
    service.Restart();
    EXPECT_TRUE(Eventually([&] {
        serving.Write("2A37 0052");
        return serving.Output().find("180D/2A37 is now 0052\n") != std::string::npos;
    }));
    EXPECT_THAT(serving.Output(), HasSubstr("PelaconService was restarted; serving again.\n"));
    EXPECT_EQ(OutputOf({"read", kHere, "180D", "2A37"}), "0052\n");
}

}  // namespace

}  // namespace pelacon::test
