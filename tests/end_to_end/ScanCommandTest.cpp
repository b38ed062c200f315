// pelaconctl scan, advertise and targets.
#include <tests/support/ServiceProcess.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <regex>
#include <set>
#include <sstream>
#include <string>

namespace pelacon::test {

namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

constexpr char kScanWorld[] = R"({
    "adapter": {"turnOnMs": 1, "turnOffMs": 1},
    "peripherals": [
        {"address": "C0:00:00:00:00:01", "name": "Thermometer", "rssi": -58,
         "rssiVariation": 0, "advertising": {"intervalMs": 20,
            "data": [{"flags": 6}, {"service": "180F", "data": "64"}],
            "scanResponse": [{"name": "Thermometer"}]}},
        {"address": "C0:00:00:00:00:02", "name": "Lamp", "rssi": -90, "rssiVariation": 0,
         "advertising": {"intervalMs": 20}},
        {"address": "C0:00:00:00:00:03", "rssiVariation": 0, "rssi": -70, "advertising": {
            "intervalMs": 20, "kind": "non-connectable",
            "data": [{"manufacturer": "CAFE", "data": "0102"}]}}
    ]})";

std::vector<std::string> LinesOf(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

class ScanCommand : public ::testing::Test {
  protected:
    ServiceProcess service{kScanWorld};
};

// ---- scan

TEST_F(ScanCommand, WritesPlainLinesWhereThereIsNoTerminal)
{
    const CommandResult result = Pelaconctl({"scan", "--seconds", "0.4"});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_THAT(result.output, HasSubstr("C0:00:00:00:00:01   -58 dBm  Thermometer  180F: 64\n"));
    EXPECT_THAT(result.output, HasSubstr("C0:00:00:00:00:02   -90 dBm  Lamp\n"));
    EXPECT_THAT(result.output, HasSubstr("C0:00:00:00:00:03   -70 dBm  CAFE: 0102\n"));
    EXPECT_THAT(result.output, Not(HasSubstr("\033")));
    EXPECT_LE(LinesOf(result.output).size(), 4U) << "results without news are not written again";
}

TEST_F(ScanCommand, WritesALineOfJsonForEachResult)
{
    const CommandResult result = Pelaconctl({"scan", "--seconds", "0.4", "--json"});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    std::set<std::string> addresses;
    for (const std::string& line : LinesOf(result.output)) {
        const auto record = nlohmann::json::parse(line);
        addresses.insert(record.at("address"));
        if (record.at("address") == "C0:00:00:00:00:03") {
            EXPECT_EQ(record.at("rssi"), -70);
            EXPECT_EQ(record.at("event"), "non-connectable");
            EXPECT_EQ(record.at("manufacturer").at("company"), "CAFE");
            EXPECT_EQ(record.at("manufacturer").at("data"), "0102");
            EXPECT_EQ(record.at("data"), "05fffeca0102");
        }
    }
    EXPECT_EQ(addresses.size(), 3U);
    EXPECT_GE(LinesOf(result.output).size(), 20U);
}

TEST_F(ScanCommand, DrawsATableInPlaceOnATerminal)
{
    if (const char* reason = ChildProcess::WhyNoTerminal()) {
        GTEST_SKIP() << reason;
    }
    ChildProcess scan(PelaconctlPath(), {"scan", "--sort", "signal"},
                      {.terminal = true, .environment = {"TERM=xterm", "NO_COLOR=1"}});
    // The table is drawn again over itself: heading, three devices and summary are five lines.
    ASSERT_TRUE(scan.WaitForOutput("\033[5A\r")) << scan.Output();
    scan.Interrupt();
    EXPECT_EQ(scan.Wait(), 0);
    const std::string output = scan.Output();
    const std::string last = output.substr(output.rfind("ADDRESS"));
    EXPECT_LT(last.find("C0:00:00:00:00:01"), last.find("C0:00:00:00:00:03"));
    EXPECT_LT(last.find("C0:00:00:00:00:03"), last.find("C0:00:00:00:00:02"));
    EXPECT_TRUE(std::regex_search(
        last,
        std::regex("C0:00:00:00:00:01  ###\\.\\.  -58 dBm  Thermometer +180F: 64 +[0-9]+ +0")))
        << last;
    EXPECT_THAT(last, HasSubstr("3 devices, "));
}

TEST_F(ScanCommand, ColoursFollowTheTerminalAndNoColor)
{
    if (const char* reason = ChildProcess::WhyNoTerminal()) {
        GTEST_SKIP() << reason;
    }
    ChildProcess scan(PelaconctlPath(), {"scan"},
                      {.terminal = true, .environment = {"TERM=xterm", "NO_COLOR="}});
    EXPECT_TRUE(scan.WaitForOutput("\033[32m")) << scan.Output();
    ChildProcess plain(PelaconctlPath(), {"scan", "--seconds", "0.3"},
                       {.terminal = true, .environment = {"TERM=dumb"}});
    EXPECT_EQ(plain.Wait(), 0);
    EXPECT_THAT(plain.Output(), Not(HasSubstr("\033")));
}

TEST_F(ScanCommand, EndsWithCtrlC)
{
    ChildProcess scan(PelaconctlPath(), {"scan"});
    ASSERT_TRUE(scan.NextLine());
    scan.Interrupt();
    EXPECT_EQ(scan.Wait(), 0);
    EXPECT_EQ(scan.Errors(), "");
    EXPECT_TRUE(Eventually([&] {
        return service.Command({{"command", "status"}})["scanner"]["listeners"] == 0;
    }));
}

TEST_F(ScanCommand, ShowsDevicesThatMatchTheFilters)
{
    const auto scan = [](const std::vector<std::string>& filters) {
        std::vector<std::string> arguments{"scan", "--seconds", "0.3"};
        for (const std::string& filter : filters) {
            arguments.insert(arguments.end(), {"--filter", filter});
        }
        const CommandResult result = Pelaconctl(arguments);
        EXPECT_EQ(result.exitCode, 0) << result.errors;
        std::set<std::string> last;
        for (const std::string& line : LinesOf(result.output)) {
            last.insert(line.substr(15, 2));
        }
        return last;
    };
    using Set = std::set<std::string>;
    EXPECT_EQ(scan({"name=La"}), Set{"02"});
    EXPECT_EQ(scan({"service=180F", "manufacturer=cafe"}), (Set{"01", "03"}));
    EXPECT_EQ(scan({"address=C0:00:00:00:00:03"}), Set{"03"});
    EXPECT_EQ(scan({"hex=0218"}), Set());
}

TEST_F(ScanCommand, RefusesInvalidFilters)
{
    for (const char* filter : {"colour=red", "name", "service=18", "hex=0", "address=x",
                               "name=012345678901234567890123456789012"}) {
        const CommandResult result = Pelaconctl({"scan", "--filter", filter});
        EXPECT_EQ(result.exitCode, 2) << filter;
        EXPECT_THAT(result.errors, StartsWith("pelaconctl: "));
    }
    std::vector<std::string> six{"scan"};
    for (int i = 0; i < 6; ++i) {
        six.insert(six.end(), {"--filter", "name=x"});
    }
    EXPECT_THAT(Pelaconctl(six).errors, HasSubstr("At most five filters"));
}

TEST_F(ScanCommand, RefusesInvalidValuesAndListsTheValidOnes)
{
    EXPECT_EQ(
        Pelaconctl({"scan", "--policy", "fast"}).errors,
        "pelaconctl: --policy: must be one of low-power, balanced, low-latency, not \"fast\". See: "
        "pelaconctl scan --help\n");
    EXPECT_EQ(Pelaconctl({"scan", "--sort", "0"}).errors,
              "pelaconctl: --sort: must be one of signal, address, name, count, not \"0\". See: "
              "pelaconctl scan --help\n");
    const CommandResult result = Pelaconctl({"scan", "--seconds", "-1"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(
        result.errors,
        "pelaconctl: --seconds: must be a number, 0 or more, not \"-1\". See: pelaconctl scan "
        "--help\n");
    EXPECT_THAT(Pelaconctl({"advertise", "--kind", "x"}).errors,
                HasSubstr("must be one of connectable, scannable, non-connectable, not \"x\""));
    EXPECT_THAT(Pelaconctl({"advertise", "--seconds", "0"}).errors,
                HasSubstr("must be a number above 0, not \"0\""));
}

TEST_F(ScanCommand, ReportsThatBluetoothIsOff)
{
    ChildProcess scan(PelaconctlPath(), {"scan"});
    ASSERT_TRUE(scan.NextLine());
    EXPECT_EQ(Pelaconctl({"bt", "off"}).exitCode, 0);
    EXPECT_EQ(scan.Wait(), 5);
    EXPECT_THAT(scan.Errors(), HasSubstr("Bluetooth was switched off"));
    const CommandResult late = Pelaconctl({"scan"});
    EXPECT_EQ(late.exitCode, 5);
    EXPECT_THAT(late.errors, HasSubstr("Bluetooth is off"));
}

TEST_F(ScanCommand, ScanGoesOnWhenTheServiceRestarts)
{
    ChildProcess scan(PelaconctlPath(), {"scan", "--json"});
    ASSERT_TRUE(scan.NextLine());
    service.Restart();
    EXPECT_TRUE(Eventually([&] {
        return service.Command({{"command", "status"}})["scanner"]["scanning"] == 1;
    }));
    scan.Interrupt();
    EXPECT_EQ(scan.Wait(), 0) << scan.Errors();
}

TEST_F(ScanCommand, KeepsItsFiltersWhenTheServiceRestarts)
{
    ChildProcess scan(PelaconctlPath(), {"scan", "--filter", "name=La", "--json"});
    ASSERT_TRUE(scan.NextLine());
    service.Restart();
    // The new service has no filters until the command sets them again, so first results of all
    // three devices may come.
    int inARow = 0;
    for (int lines = 0; lines < 1000 && inARow < 20; ++lines) {
        const auto line = scan.NextLine();
        ASSERT_TRUE(line) << scan.Errors();
        inARow = nlohmann::json::parse(*line).value("name", "") == "Lamp" ? inARow + 1 : 0;
    }
    EXPECT_EQ(inARow, 20);
    scan.Interrupt();
    EXPECT_EQ(scan.Wait(), 0) << scan.Errors();
}

// ---- advertise

TEST_F(ScanCommand, AdvertisesTheGivenData)
{
    ChildProcess advertise(PelaconctlPath(), {"advertise", "--name", "Desk", "--uuid", "180F",
                                              "--uuid", "1809", "--manufacturer", "FFFF:0215",
                                              "--response-name", "Longer name", "--json"});
    const auto line = advertise.NextLine();
    ASSERT_TRUE(line) << advertise.Errors();
    const auto record = nlohmann::json::parse(*line);
    EXPECT_EQ(record.at("data"), "02010605030f18091805ffffff021505094465736b");
    EXPECT_EQ(record.at("scanResponse"), "0c094c6f6e676572206e616d65");
    EXPECT_EQ(service.Command({{"command", "status"}})["advertiser"]["advertising"], 1);
    advertise.Interrupt();
    EXPECT_EQ(advertise.Wait(), 0);
    EXPECT_TRUE(Eventually([&] {
        return service.Command({{"command", "status"}})["advertiser"]["advertisers"] == 0;
    }));
}

TEST_F(ScanCommand, RefusesDataThatDoesNotFit)
{
    const std::string longName(27, 'x');
    CommandResult result = Pelaconctl({"advertise", "--name", longName});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.errors, HasSubstr("would take 32 bytes, but the limit is 31"));
    result = Pelaconctl({"advertise", "--response-name", std::string(300, 'x')});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.errors, HasSubstr("The scan response would take 302 bytes"));
    result = Pelaconctl({"advertise", "--raw", std::string(64, '0')});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.errors, HasSubstr("would take 32 bytes"));
    EXPECT_EQ(Pelaconctl({"advertise", "--raw", "00", "--name", "x"}).exitCode, 2);
    EXPECT_EQ(Pelaconctl({"advertise", "--uuid", "x"}).exitCode, 2);
    EXPECT_EQ(Pelaconctl({"advertise", "--interval", "5"}).exitCode, 2);
    EXPECT_EQ(Pelaconctl({"advertise", "--seconds", "1", "--part", "2"}).exitCode, 2);
}

TEST_F(ScanCommand, AdvertisesForATime)
{
    const CommandResult result =
        Pelaconctl({"advertise", "--raw", "020106" + std::string(56, 'f'), "--seconds", "0.1",
                    "--part", "0.02", "--power", "-10", "--kind", "scannable"});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_THAT(result.output, AllOf(HasSubstr("31 of 31 bytes"), HasSubstr("The time is over.")));
}

TEST_F(ScanCommand, AdvertisesAgainWhenTheServiceRestarts)
{
    ChildProcess advertise(PelaconctlPath(), {"advertise", "--name", "Desk"});
    ASSERT_TRUE(advertise.NextLine());
    service.Restart();
    EXPECT_EQ(advertise.NextLine(), "PelaconService was restarted; advertising again.");
    EXPECT_TRUE(Eventually([&] {
        return service.Command({{"command", "status"}})["advertiser"]["advertising"] == 1;
    }));
    EXPECT_EQ(Pelaconctl({"bt", "off"}).exitCode, 0);
    EXPECT_EQ(advertise.Wait(), 5);
    EXPECT_THAT(advertise.Errors(), HasSubstr("Bluetooth was switched off"));
}

TEST_F(ScanCommand, AdvertisesNoLongerForARestart)
{
    ChildProcess advertise(PelaconctlPath(),
                           {"advertise", "--seconds", "60", "--part", "60", "--json"});
    ASSERT_TRUE(advertise.NextLine());
    service.Restart();
    const auto line = advertise.NextLine();
    ASSERT_TRUE(line) << advertise.Errors();
    const auto record = nlohmann::json::parse(*line);
    EXPECT_EQ(record.at("event"), "restarted");
    EXPECT_LT(record.at("secondsLeft"), 60);
    EXPECT_GT(record.at("secondsLeft"), 30);
    EXPECT_TRUE(Eventually([&] {
        return service.Command({{"command", "status"}})["advertiser"]["advertising"] == 1;
    })) << "the part is limited to the remaining time";
    advertise.Interrupt();
    EXPECT_EQ(advertise.Wait(), 0) << advertise.Errors();
}

TEST_F(ScanCommand, AdvertisesNothingAtAll)
{
    const CommandResult result = Pelaconctl({"advertise", "--raw", "", "--seconds", "0.05"});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_THAT(result.output, StartsWith("Advertising 0 of 31 bytes"));
    EXPECT_EQ(Pelaconctl({"advertise", "--manufacturer", ""}).exitCode, 2);
}

// ---- targets

TEST_F(ScanCommand, SendsAndReceivesTargetedAdvertisements)
{
    ChildProcess listen(PelaconctlPath(), {"targets", "listen", "7", "8", "7", "--json"});
    ASSERT_TRUE(Eventually([&] {
        return service.Command({{"command", "status"}})["targetedAdvertisements"]["listeners"] == 1;
    }));
    EXPECT_EQ(Pelaconctl({"targets", "send", "9", "01"}).exitCode, 0);
    const CommandResult sent = Pelaconctl({"targets", "send", "8", "ca fe"});
    EXPECT_EQ(sent.exitCode, 0) << sent.errors;
    EXPECT_EQ(sent.output, "Sent to the programs that listen for business 8.\n");
    const auto line = listen.NextLine();
    ASSERT_TRUE(line) << listen.Errors();
    const auto record = nlohmann::json::parse(*line);
    EXPECT_EQ(record.at("business"), 8);
    EXPECT_THAT(record.at("data").get<std::string>(), StartsWith("cafe00"));
    listen.Interrupt();
    EXPECT_EQ(listen.Wait(), 0);
}

TEST_F(ScanCommand, RefusesInvalidTargets)
{
    EXPECT_EQ(Pelaconctl({"targets", "listen"}).exitCode, 2);
    EXPECT_EQ(Pelaconctl({"targets", "send", "x"}).exitCode, 2);
    const CommandResult result = Pelaconctl({"targets", "send", "1", std::string(74, '0')});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.errors, HasSubstr("at most 36 bytes; this one has 37"));
}

TEST(WithoutAService, CommandsFailWithAMessage)
{
    ServiceProcess service("{}");
    service.End();
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{"scan"},
                                                      {"advertise", "--name", "x"},
                                                      {"targets", "listen", "1"}}) {
        const CommandResult result = Pelaconctl(arguments);
        EXPECT_EQ(result.exitCode, 3);
        EXPECT_THAT(result.errors, StartsWith("pelaconctl: PelaconService is not running"));
    }
}

}  // namespace

}  // namespace pelacon::test
