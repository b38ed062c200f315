// The command line against the real service: what each command does, and how each failure ends.
#include <PelaconSDK/PelaconSDK.h>
#include <tests/support/Matches.h>
#include <tests/support/ServiceProcess.h>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <string>
#include <vector>

namespace pelacon::test {

namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::Not;
using ::testing::StartsWith;

using Arguments = std::vector<std::string>;

/// Exit codes, as --help lists them.
constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kUsage = 2;
constexpr int kNoService = 3;
constexpr int kNoAnswer = 4;
constexpr int kAdapterOff = 5;
constexpr int kInterrupted = 130;

constexpr char kWorld[] = R"({
    "adapter": {"address": "5C:F3:70:8B:12:34", "name": "Front desk", "turnOnMs": 5, "turnOffMs": 5,
                "connected": [{"address": "C0:00:00:00:00:01"}]}})";

constexpr char kSlowWorld[] = R"({"adapter": {"on": false, "turnOnMs": 60000}})";

/// One sentence on standard error, with the program's name before it, and nothing else.
void ExpectFailure(const Arguments& arguments, int exitCode, const std::string& sentence)
{
    SCOPED_TRACE(::testing::PrintToString(arguments));
    const CommandResult result = Pelaconctl(arguments);
    EXPECT_EQ(result.exitCode, exitCode);
    EXPECT_THAT(result.errors, AllOf(StartsWith("pelaconctl: "), HasSubstr(sentence)));
    EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
    EXPECT_THAT(result.output, IsEmpty());
}

/// The output of a command that is expected to succeed.
std::string OutputOf(const Arguments& arguments)
{
    SCOPED_TRACE(::testing::PrintToString(arguments));
    const CommandResult result = Pelaconctl(arguments);
    EXPECT_EQ(result.exitCode, kDone) << result.errors;
    EXPECT_THAT(result.errors, IsEmpty());
    return result.output;
}

/// The same with --json, parsed.
nlohmann::json Reported(Arguments arguments)
{
    arguments.emplace_back("--json");
    const std::string output = OutputOf(arguments);
    EXPECT_EQ(std::count(output.begin(), output.end(), '\n'), 1) << output;
    return nlohmann::json::parse(output);
}

TEST(PelaconctlWithoutService, EveryCommandFailsWithAMessage)
{
    {
        const ServiceProcess earlier;
    }  // has set PELACON_RUNTIME_DIR to its folder, where no service listens any more
    for (const Arguments& arguments : std::vector<Arguments>{{"bt", "status"},
                                                             {"bt", "on"},
                                                             {"bt", "off"},
                                                             {"bt", "name"},
                                                             {"bt", "name", "Desk"},
                                                             {"bt", "connected", "020000000001"},
                                                             {"monitor"},
                                                             {"service", "status"},
                                                             {"service", "restart"},
                                                             {"service", "fault", "list"}}) {
        ExpectFailure(arguments, kNoService, "PelaconService is not running.");
    }
}

TEST(PelaconctlWithoutService, StatusWaitsForTheServiceWithinItsLimit)
{
    {
        const ServiceProcess earlier;
    }
    ExpectFailure({"service", "status", "--wait", "0.1"}, kNoService, "is not running");
    ChildProcess waiting(PelaconctlPath(), {"service", "status", "--wait", "10"});
    const ServiceProcess service;
    EXPECT_EQ(waiting.Wait(), kDone) << waiting.Errors();
    EXPECT_THAT(waiting.Output(), HasSubstr("is running."));
}

class PelaconctlUsage : public ::testing::TestWithParam<Arguments> {};

TEST_P(PelaconctlUsage, MistakesAreRefusedInOneSentence)
{
    ExpectFailure(GetParam(), kUsage, "");
}

INSTANTIATE_TEST_SUITE_P(
    All, PelaconctlUsage,
    ::testing::Values(Arguments{}, Arguments{"bt"}, Arguments{"bt", "onn"}, Arguments{"--nonsense"},
                      Arguments{"bt", "status", "extra"}, Arguments{"bt", "on", "--wait", "soon"},
                      Arguments{"bt", "on", "--wait", "-1"}, Arguments{"bt", "connected"},
                      Arguments{"bt", "connected", "somebody"},
                      Arguments{"bt", "name", std::string(65, 'n')}, Arguments{"bt", "name", ""},
                      Arguments{"monitor", "--seconds", "x"},
                      Arguments{"service", "fault", "set", "BtEnable"},
                      Arguments{"service", "fault", "set", "any", "empty", "--perform=maybe"},
                      Arguments{"service", "flood", "BtStateChanged", "1", "--droppable=maybe"},
                      Arguments{"service", "send", "no json"}));

TEST(PelaconctlUsage, MessagesListTheValidValues)
{
    ExpectFailure({"bt", "onn"}, kUsage,
                  "has no subcommand \"onn\". Subcommands: status, on, off, name, connected");
    ExpectFailure({"bt"}, kUsage, "needs a subcommand: status, on, off, name, connected");
}

/// Checks the help of a command and, recursively, of its subcommands.
void ExpectHelp(Arguments command)
{
    Arguments arguments = command;
    arguments.emplace_back("--help");
    const std::string help = OutputOf(arguments);
    SCOPED_TRACE(help);
    EXPECT_THAT(help, HasSubstr("Usage: pelaconctl"));
    const std::size_t list = help.find("\nSubcommands:\n");
    if (list == std::string::npos) {
        return;
    }
    EXPECT_THAT(help, HasSubstr("Examples:"));
    for (std::size_t at = help.find('\n', list + 1) + 1; help.compare(at, 2, "  ") == 0;
         at = help.find('\n', at) + 1) {
        if (help[at + 2] == ' ') {
            continue;  // the continuation of a description
        }
        command.push_back(help.substr(at + 2, help.find(' ', at + 2) - at - 2));
        ExpectHelp(command);
        command.pop_back();
    }
}

TEST(PelaconctlHelp, EveryCommandHasHelp)
{
    ExpectHelp({});
    EXPECT_THAT(OutputOf({"--help"}), AllOf(HasSubstr("Exit status:"), HasSubstr("130")));
    EXPECT_THAT(OutputOf({"service", "fault", "set", "--help"}),
                AllOf(HasSubstr("Usage: pelaconctl service fault set"), HasSubstr("Examples:")));
}

class PelaconctlBt : public ::testing::Test {
  protected:
    ServiceProcess service{kWorld};
};

TEST_F(PelaconctlBt, StatusShowsTheAdapter)
{
    EXPECT_EQ(OutputOf({"bt", "status"}),
              "Bluetooth is on.\n"
              "Name     Front desk\n"
              "Address  5C:F3:70:8B:12:34\n");
    EXPECT_EQ(Reported({"bt", "status"}),
              (nlohmann::json{
                  {"state", "on"}, {"name", "Front desk"}, {"address", "5C:F3:70:8B:12:34"}}));
}

TEST_F(PelaconctlBt, OnAndOffWaitForTheState)
{
    EXPECT_EQ(OutputOf({"bt", "on"}), "Bluetooth is on already.\n");
    EXPECT_EQ(OutputOf({"bt", "off"}), "Bluetooth is off.\n");
    EXPECT_EQ(Reported({"bt", "status"}).at("state"), "off");
    EXPECT_EQ(OutputOf({"bt", "off"}), "Bluetooth is off already.\n");
    EXPECT_EQ(Reported({"bt", "on"}), (nlohmann::json{{"state", "on"}}));
    EXPECT_EQ(Reported({"bt", "status"}).at("state"), "on");
}

TEST_F(PelaconctlBt, NameShowsAndSets)
{
    EXPECT_EQ(OutputOf({"bt", "name"}), "Front desk\n");
    EXPECT_EQ(OutputOf({"bt", "name", "Büro"}), "The adapter is now called \"Büro\".\n");
    EXPECT_EQ(Reported({"bt", "name"}).at("name"), "Büro");
    const std::string longest(64, 'n');
    OutputOf({"bt", "name", longest});
    EXPECT_EQ(Reported({"bt", "name"}).at("name"), longest);
}

TEST_F(PelaconctlBt, ConnectedReportsWhetherADeviceIsConnected)
{
    EXPECT_EQ(OutputOf({"bt", "connected", "C0:00:00:00:00:01"}),
              "C0:00:00:00:00:01 is connected.\n");
    EXPECT_EQ(OutputOf({"bt", "connected", "c0-00-00-00-00-01", "--classic"}),
              "C0:00:00:00:00:01 is not connected.\n");
    EXPECT_EQ(Reported({"bt", "connected", "020000000099"}),
              (nlohmann::json{{"address", "02:00:00:00:00:99"}, {"connected", false}}));
}

TEST_F(PelaconctlBt, VersionNamesProgramLibraryAndService)
{
    const std::string version = PelaconGetVersion();
    EXPECT_THAT(OutputOf({"--version"}), MatchesRegex("pelaconctl .*\n.*library +" + version +
                                                      "\n.*service +" + version + "\n"));
    const nlohmann::json record = nlohmann::json::parse(OutputOf({"--json", "--version"}));
    EXPECT_EQ(record["library"], version);
    EXPECT_EQ(record["service"], version);
}

TEST_F(PelaconctlBt, VersionSaysThatThereIsNoService)
{
    service.End();
    EXPECT_THAT(OutputOf({"--version"}), HasSubstr("PelaconService is not running"));
    EXPECT_EQ(nlohmann::json::parse(OutputOf({"--json", "--version"}))["service"], nullptr);
}

TEST_F(PelaconctlBt, JsonMayStandBeforeTheCommand)
{
    EXPECT_EQ(nlohmann::json::parse(OutputOf({"--json", "bt", "name"})).at("name"), "Front desk");
}

TEST_F(PelaconctlBt, AMissingAnswerHasItsOwnMessage)
{
    OutputOf({"service", "fault", "set", "any", "empty"});
    ExpectFailure({"bt", "status"}, kNoAnswer,
                  "did not answer the request to read the adapter's address and name");
    ExpectFailure({"bt", "on"}, kNoAnswer, "did not answer");
    ExpectFailure({"bt", "name"}, kNoAnswer, "did not answer");
    ExpectFailure({"bt", "connected", "020000000001"}, kNoAnswer, "did not answer");
    OutputOf({"service", "fault", "clear"});
    OutputOf({"bt", "status"});
}

TEST_F(PelaconctlBt, OptionsMayBeGivenAsAbsent)
{
    OutputOf({"service", "fault", "set", "any", "empty", "--perform=false", "--times", ""});
    EXPECT_THAT(OutputOf({"service", "fault", "list"}), Not(HasSubstr("perform=true")));
    ExpectFailure({"bt", "name"}, kNoAnswer, "did not answer");
    ExpectFailure({"bt", "name"}, kNoAnswer, "did not answer");
    OutputOf({"service", "fault", "clear"});
}

TEST_F(PelaconctlBt, RefusalsGiveTheReason)
{
    OutputOf({"service", "fault", "set", "BtDisable", "status", "--status", "3", "--times", "1"});
    ExpectFailure({"bt", "off"}, kFailed, "refused to switch Bluetooth off: ");
    OutputOf({"service", "fault", "set", "SetBtName", "status", "--status", "1", "--times", "1"});
    ExpectFailure({"bt", "name", "Desk"}, kAdapterOff, "the radio is off");
}

TEST(PelaconctlBtSlow, OnGivesUpAfterItsTime)
{
    const ServiceProcess service(kSlowWorld);
    ExpectFailure({"bt", "on", "--wait", "0.05"}, kNoAnswer, "Bluetooth is still turning on");
}

TEST(PelaconctlBtSlow, CtrlCEndsAWait)
{
    const ServiceProcess service(kSlowWorld);
    ChildProcess waiting(PelaconctlPath(), {"bt", "on", "--wait", "60"});
    ASSERT_TRUE(Eventually([&] {
        return service.Command({{"command", "status"}})["adapter"]["state"] == "turning on";
    }));
    waiting.Interrupt();
    EXPECT_EQ(waiting.Wait(), kInterrupted);
    EXPECT_THAT(waiting.Errors(), IsEmpty());
}

class PelaconctlMonitor : public ::testing::Test {
  protected:
    PelaconctlMonitor() { EXPECT_EQ(PelaconSvcStart(), 0); }
    ~PelaconctlMonitor() override { PelaconSvcStop(); }

    /// Sends notifications to this client until the monitor shows one. Nothing else reports that
    /// the monitor has begun to watch.
    bool NotifiedUntilShown(ChildProcess& monitor, const std::string& shown) const
    {
        return Eventually([&] {
            service.Command({{"command", "notify"}, {"id", "BtStateChanged"}, {"payload", "02"}});
            return monitor.Output().find(shown) != std::string::npos;
        });
    }

    ServiceProcess service{kWorld};
};

TEST_F(PelaconctlMonitor, ShowsNotificationsUntilCtrlC)
{
    ChildProcess monitor(PelaconctlPath(), {"monitor"});
    EXPECT_TRUE(NotifiedUntilShown(monitor, "\n")) << monitor.Errors();
    monitor.Interrupt();
    EXPECT_EQ(monitor.Wait(), kDone);
    EXPECT_THAT(monitor.Output(), Matches("(..:..:..\\....  BtStateChanged +state=on\n)+"));
    EXPECT_THAT(monitor.Errors(), IsEmpty());
}

TEST_F(PelaconctlMonitor, ShowsNotificationsAsJsonLines)
{
    ChildProcess monitor(PelaconctlPath(), {"monitor", "--json"});
    EXPECT_TRUE(NotifiedUntilShown(monitor, "\n"));
    const nlohmann::json shown = nlohmann::json::parse(monitor.NextLine().value());
    EXPECT_EQ(shown.at("name"), "BtStateChanged");
    EXPECT_EQ(shown.at("id"), "0xD80062");
    EXPECT_EQ(shown.at("fields"), (nlohmann::json{{"state", "on"}}));
    EXPECT_EQ(shown.at("payload"), "02");
    EXPECT_THAT(shown.at("time").get<std::string>(), Matches("....-..-..T..:..:..\\....Z"));
}

TEST_F(PelaconctlMonitor, ShowsUnknownNotificationsAsBytes)
{
    ChildProcess monitor(PelaconctlPath(), {"monitor"});
    EXPECT_TRUE(NotifiedUntilShown(monitor, "\n"));
    OutputOf({"service", "notify", "0xD8FFFF", "--payload", "0102"});
    EXPECT_TRUE(monitor.WaitForOutput("0xD8FFFF")) << monitor.Output();
    EXPECT_TRUE(monitor.WaitForOutput("0102\n"));
}

TEST_F(PelaconctlMonitor, EndsAfterItsTime)
{
    EXPECT_EQ(OutputOf({"monitor", "--seconds", "0.05"}), "");
}

TEST_F(PelaconctlMonitor, EndsWithTheService)
{
    ChildProcess monitor(PelaconctlPath(), {"monitor"});
    EXPECT_TRUE(NotifiedUntilShown(monitor, "\n"));
    service.End();
    EXPECT_EQ(monitor.Wait(), kNoService);
    EXPECT_THAT(monitor.Errors(),
                StartsWith("pelaconctl: The connection to PelaconService was lost"));
}

class PelaconctlLoss : public ::testing::Test {
  protected:
    ServiceProcess service{kWorld};
};

TEST_F(PelaconctlLoss, AWatchTellsOfTheServicesLossAndReturn)
{
    ChildProcess watch(PelaconctlPath(), {"ap", "watch"});
    ASSERT_TRUE(watch.WaitForOutput("Watching.")) << watch.Errors();
    service.Kill();
    EXPECT_TRUE(watch.WaitForOutput("PelaconService is gone. Waiting for it.\n"));
    service.Start();
    EXPECT_TRUE(watch.WaitForOutput("PelaconService is there again.\n"));
    watch.Interrupt();
    EXPECT_EQ(watch.Wait(), kDone) << watch.Errors();
}

TEST_F(PelaconctlLoss, AWatchTellsProgramsOfTheServicesLossAndReturn)
{
    ChildProcess watch(PelaconctlPath(), {"ap", "watch", "--json"});
    // Its first event says that it has begun to watch.
    ASSERT_TRUE(Eventually([&] {
        service.Command({{"command", "notify"}, {"id", "SoftApDeviceConnection"}});
        return !watch.Output().empty();
    })) << watch.Errors();
    service.Restart();
    EXPECT_TRUE(watch.WaitForOutput(R"("event":"service","state":"lost")"));
    EXPECT_TRUE(watch.WaitForOutput(R"("event":"service","state":"restarted")"));
    watch.Interrupt();
    EXPECT_EQ(watch.Wait(), kDone);
    EXPECT_THAT(watch.Errors(), IsEmpty());
}

TEST_F(PelaconctlLoss, AScanTellsOfTheServicesLossAndReturn)
{
    ChildProcess listen(PelaconctlPath(), {"targets", "listen", "1"});
    ASSERT_TRUE(Eventually([&] {
        return service.Command({{"command", "status"}})["counters"]["requests"].get<int>() > 0;
    }));
    service.Kill();
    EXPECT_TRUE(Eventually(
        [&] { return listen.Errors().find("PelaconService is gone.") != std::string::npos; }));
    service.Start();
    EXPECT_TRUE(
        Eventually([&] { return listen.Errors().find("there again.") != std::string::npos; }));
    listen.Interrupt();
    EXPECT_EQ(listen.Wait(), kDone) << listen.Errors();
}

TEST_F(PelaconctlLoss, AWatchEndsIfTheServiceStaysAway)
{
    ChildProcess watch(PelaconctlPath(), {"ap", "watch"});
    ASSERT_TRUE(watch.WaitForOutput("Watching.")) << watch.Errors();
    service.End();
    EXPECT_EQ(watch.Wait(), kNoService);
    EXPECT_THAT(watch.Errors(), HasSubstr("PelaconService is not running."));
}

class PelaconctlDoctor : public ::testing::Test {
  protected:
    ServiceProcess service{kWorld};
};

TEST_F(PelaconctlDoctor, ReportsTheServiceThatRuns)
{
    const nlohmann::json report = Reported({"doctor"});
    EXPECT_EQ(report["ok"], true);
    EXPECT_EQ(report["versions"]["service"], PelaconGetVersion());
    EXPECT_EQ(report["radios"]["bluetooth"], "on");
    EXPECT_EQ(report["status"]["adapter"]["name"], "Front desk");
    // The library of this process expects the service in the stage, which runs.
    EXPECT_EQ(report["program"]["expected"], PelaconGetServicePath());
    EXPECT_EQ(report["program"]["running"], report["program"]["expected"]);
    EXPECT_THAT(report["remarks"], IsEmpty());
    const nlohmann::json place = report["places"].back();
    EXPECT_THAT(place["state"].get<std::string>(), HasSubstr("the service listens here: process "));
    EXPECT_THAT(OutputOf({"doctor"}),
                AllOf(StartsWith("PelaconService answers.\n"), HasSubstr("Clients      none")));
}

TEST_F(PelaconctlDoctor, ReportsThatThereIsNone)
{
    service.End();
    const CommandResult result = Pelaconctl({"doctor", "--json"});
    EXPECT_EQ(result.exitCode, kNoService);
    EXPECT_THAT(result.errors, HasSubstr("PelaconService is not running at any of these places"));
    const nlohmann::json report = nlohmann::json::parse(result.output);
    EXPECT_EQ(report["ok"], false);
    EXPECT_THAT(report["places"][0]["state"].get<std::string>(),
                StartsWith("no service listens here"));
    EXPECT_TRUE(report["status"].is_null());
}

class PelaconctlService : public ::testing::Test {
  protected:
    ServiceProcess service{kWorld};
};

TEST_F(PelaconctlService, StatusShowsItsState)
{
    EXPECT_THAT(OutputOf({"service", "status"}),
                AllOf(HasSubstr("is running."), HasSubstr("Front desk"), HasSubstr("none")));
    const nlohmann::json status = Reported({"service", "status"});
    EXPECT_EQ(status.at("adapter").at("name"), "Front desk");
    EXPECT_EQ(status.at("counters").at("requests"), 0);
}

TEST_F(PelaconctlService, FaultsAreSetListedAndCleared)
{
    EXPECT_EQ(OutputOf({"service", "fault", "list"}), "No faults are in force.\n");
    EXPECT_EQ(Reported({"service", "fault", "set", "BtEnable", "never", "--times", "2"}),
              (nlohmann::json{{"number", 1}}));
    EXPECT_THAT(OutputOf({"service", "fault", "set", "any", "delay", "--ms", "20", "--probability",
                          "0.5", "--seed", "7", "--after", "3"}),
                HasSubstr("Fault 2 is in force."));
    const std::string list = OutputOf({"service", "fault", "list"});
    EXPECT_THAT(list,
                AllOf(HasSubstr("request=BtEnable"), HasSubstr("times=2"), HasSubstr("do=delay"),
                      HasSubstr("ms=20"), HasSubstr("after=3"), HasSubstr("probability=0.5")));
    EXPECT_EQ(OutputOf({"service", "fault", "clear", "1"}), "Fault 1 has ended.\n");
    EXPECT_EQ(Reported({"service", "fault", "list"}).at("number"), 2);
    EXPECT_EQ(OutputOf({"service", "fault", "clear"}), "No faults are in force any more.\n");
    EXPECT_EQ(OutputOf({"service", "fault", "list"}), "No faults are in force.\n");
}

TEST_F(PelaconctlService, InvalidFaultsAreRefusedWithTheServicesMessage)
{
    ExpectFailure({"service", "fault", "set", "Nonsense", "never"}, kUsage, "fault.request");
    ExpectFailure({"service", "fault", "set", "BtEnable", "explode"}, kUsage, "fault.do");
    ExpectFailure({"service", "fault", "set", "BtEnable", "delay"}, kUsage, "ms");
    ExpectFailure({"service", "fault", "clear", "77"}, kFailed, "there is no fault");
}

TEST_F(PelaconctlService, TheStackRefusesAndRecovers)
{
    EXPECT_THAT(OutputOf({"service", "stack", "set", "switch", "--fails", "not-permitted"}),
                HasSubstr("pelaconctl service stack set switch\n"));
    ExpectFailure({"bt", "off"}, kFailed, "refused to switch Bluetooth off: ");
    OutputOf({"service", "stack", "set", "switch", "--fails", "blocked", "--times", "1"});
    ExpectFailure({"bt", "off"}, kAdapterOff, "the radio is off");
    OutputOf({"bt", "off"});
    OutputOf({"bt", "on"});
    EXPECT_EQ(Reported({"service", "stack", "set", "switch"}),
              (nlohmann::json{{"operation", "switch"}}));

    OutputOf({"service", "stack", "set", "advertise", "--ms", "1", "--ends-after", "20"});
    const CommandResult advertising = Pelaconctl({"advertise", "--name", "Desk"});
    EXPECT_EQ(advertising.exitCode, kFailed);
    EXPECT_THAT(advertising.errors, HasSubstr("The radio ended the advertising."));
    OutputOf({"service", "stack", "set", "scan", "--fails", "failed"});
    ExpectFailure({"scan"}, kFailed, "The radio ended the scan.");
    EXPECT_EQ(OutputOf({"service", "stack", "end", "scan"}), "Ended: 0\n");

    ExpectFailure({"service", "stack", "set", "explode"}, kUsage, "operation");
    ExpectFailure({"service", "stack", "set", "scan", "--fails", "often"}, kUsage, "fails");
    ExpectFailure({"service", "stack", "set", "rename", "--ends-after", "1"}, kUsage,
                  "endsAfterMs");
    ExpectFailure({"service", "stack", "end", "rename"}, kUsage, "operation");
    EXPECT_THAT(OutputOf({"service", "stack", "set", "--help"}), HasSubstr("showService"));
}

TEST_F(PelaconctlService, RestartUndoesTheChangesOfPrograms)
{
    OutputOf({"bt", "name", "Desk"});
    EXPECT_EQ(OutputOf({"service", "restart"}), "PelaconService has restarted.\n");
    EXPECT_EQ(OutputOf({"bt", "name"}), "Front desk\n");
    EXPECT_EQ(Reported({"service", "status"}).at("counters").at("restarts"), 1);
}

TEST_F(PelaconctlService, CommandsToClientsCountThem)
{
    for (const Arguments& arguments : std::vector<Arguments>{
             {"service", "notify", "BtStateChanged"}, {"service", "malformed"}}) {
        EXPECT_EQ(Reported(arguments), (nlohmann::json{{"sent", 0}}));
    }
    EXPECT_EQ(Reported({"service", "flood", "ScanResult", "100", "--droppable"}),
              (nlohmann::json{{"sent", 0}}));
    EXPECT_EQ(Reported({"service", "disconnect"}), (nlohmann::json{{"disconnected", 0}}));
    ExpectFailure({"service", "disconnect", "--client", "999"}, kFailed, "no such client");
    ExpectFailure({"service", "disconnect", "--client", "1", "--pid", "1"}, kUsage, "--client");
}

TEST_F(PelaconctlService, SendTakesAnyCommand)
{
    EXPECT_TRUE(Reported({"service", "send"}).at("commands").contains("status"));
    EXPECT_EQ(Reported({"service", "send", R"({"command": "status"})"}).at("adapter").at("state"),
              "on");
    EXPECT_EQ(Reported({"service", "send", "status"}).at("adapter").at("state"), "on");
    ExpectFailure({"service", "send", R"({"command": "dance"})"}, kUsage, "dance");
}

std::string OnTerminal(const std::vector<std::string>& environment)
{
    ChildProcess::Options options;
    options.terminal = true;
    options.environment = environment;
    ChildProcess process(PelaconctlPath(), {"bt", "status"}, options);
    EXPECT_EQ(process.Wait(), kDone);
    return process.Output();
}

TEST_F(PelaconctlBt, ColoursAreUsedOnTerminalsOnly)
{
    if (const char* reason = ChildProcess::WhyNoTerminal()) {
        GTEST_SKIP() << reason;
    }
    constexpr char kBold[] = "\033[1mon\033[0m";
    EXPECT_THAT(OutputOf({"bt", "status"}), Not(HasSubstr("\033")));
    EXPECT_THAT(OnTerminal({"TERM=xterm", "NO_COLOR="}), HasSubstr(kBold));
    EXPECT_THAT(OnTerminal({"TERM=xterm", "NO_COLOR=1"}), Not(HasSubstr("\033")));
}

}  // namespace

}  // namespace pelacon::test
