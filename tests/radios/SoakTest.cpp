// Mixed load on real radios, with the trouble that they have, for long: SoakProgram with a service
// on hci0 and a Wi-Fi card, LibraryPeer with a service on hci1. Neither programs nor services grow.
// Run in the virtual machine by tests/radios/soak.sh, which keeps a bluetoothd running.
#include <tests/reliability/LoadClient.h>
#include <tests/reliability/Usage.h>
#include <tests/support/ChildProcess.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace pelacon::radios_test {

namespace {

using namespace std::chrono_literals;
using std::chrono::seconds;
using test::ChildProcess;
using test::Usage;
using test::UsageOf;
using Clock = std::chrono::steady_clock;

std::string Variable(const char* name)
{
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

/// PelaconService on radios, with a runtime folder and a log of its own.
class RadioService {
  public:
    RadioService(const std::string& name, const std::string& radios)
        : environment_{"PELACON_RUNTIME_DIR=/run/pelacon-" + name},
          command_("exec \"$STAGE\"/libexec/pelacon/PelaconService --radio " + radios +
                   " 2>>/tmp/service-" + name + ".log")
    {
        Start();
    }

    void Start()
    {
        process_.emplace("/bin/sh", std::vector<std::string>{"-c", command_},
                         ChildProcess::Options{.environment = environment_});
        EXPECT_TRUE(process_->WaitForOutput("ready"));
    }
    void Kill()
    {
        process_->Kill();
        process_->Wait();
    }
    std::uint32_t Id() const { return process_->Id(); }
    const std::vector<std::string>& Environment() const { return environment_; }

  private:
    std::vector<std::string> environment_;
    std::string command_;
    std::optional<ChildProcess> process_;
};

std::string StagedTest(const std::string& name)
{
    return Variable("STAGE") + "/tests/" + name;
}

class RadioSoakTest : public testing::Test {
  protected:
    /// Longer than any operation takes that it waits for.
    static constexpr seconds kPatience{150};

    enum class Trouble { kBluetoothdKilled, kBlocked, kServiceKilled, kPeersServiceKilled };

    void Cause(Trouble trouble)
    {
        ++troubles;
        log_ << "trouble " << static_cast<int>(trouble) << std::endl;
        switch (trouble) {
            case Trouble::kBluetoothdKilled: {
                pid_t bluetoothd = 0;
                std::ifstream("/run/bluetoothd.pid") >> bluetoothd;
                ASSERT_GT(bluetoothd, 1);
                kill(bluetoothd, SIGKILL);
                break;
            }
            case Trouble::kBlocked:
                ASSERT_EQ(std::system("rfkill block bluetooth"), 0);
                std::this_thread::sleep_for(3s);
                ASSERT_EQ(std::system("rfkill unblock bluetooth"), 0);
                break;
            case Trouble::kServiceKilled:
                service.Kill();
                // BlueZ would keep the connection.
                ASSERT_EQ(std::system("busctl call org.bluez /org/bluez/hci0/dev_$(echo $PEER | tr "
                                      ": _) org.bluez.Device1 Disconnect"),
                          0);
                service.Start();
                break;
            case Trouble::kPeersServiceKilled:
                peersService.Kill();
                peersService.Start();
                break;
        }
    }

    /// What programs do after trouble: until both adapters are on, and the peer advertises.
    void Recover(Trouble trouble)
    {
        log_ << "recovers" << std::endl;
        client.Tell("on");
        EXPECT_TRUE(client.Writes("is on", kPatience));
        peer.Write(trouble == Trouble::kPeersServiceKilled ? "serve" : "advertise");
        EXPECT_TRUE(WaitForPeer(trouble == Trouble::kPeersServiceKilled ? "serves" : "advertises"))
            << peer.Output();
    }
    bool WaitForPeer(const std::string& expected)
    {
        std::optional<std::string> line;
        do {
            line = peer.NextLine(kPatience);
            log_ << "peer: " << line.value_or("nothing") << std::endl;
        } while (line && *line != expected);
        return line.has_value();
    }

    /// A connection, with trouble at a random moment of it.
    void Round(std::optional<Trouble> trouble)
    {
        client.Tell("round");
        auto line = client.LineOf({"connected", "round"}, kPatience);
        const bool isDisturbed = line == "connected" && trouble;
        if (line == "connected") {
            if (isDisturbed) {
                std::this_thread::sleep_for(std::chrono::milliseconds(random_() % 10'000));
                Cause(*trouble);
            }
            line = client.LineOf({"round"}, kPatience);
        }
        ++rounds;
        log_ << rounds << ": " << line.value_or("no answer") << std::endl;
        roundsThatFailed += line == "round done" ? 0 : 1;
        if (line != "round done" && !isDisturbed) {
            ++roundsThatFailedWithoutTrouble;
            PrintLogs(line.value_or("no answer"));
        }
        if (trouble) {
            Recover(*trouble);
        }
    }

    /// What led to a failure; later the logs have gone on.
    static void PrintLogs(const std::string& failure)
    {
        std::cout << "without trouble: " << failure << std::endl;
        EXPECT_EQ(std::system("tail -n 60 /tmp/*.log; btmon -t -r /tmp/packets | tail -n 400"), 0);
    }

    Trouble NextTrouble()
    {
        // Later they stay the same processes, which must not grow.
        constexpr unsigned kAlways = 2;
        constexpr unsigned kWhileWarmingUp = 4;
        return static_cast<Trouble>(random_() % (isWarmingUp ? kWhileWarmingUp : kAlways));
    }

    void PrintLine(Clock::time_point begin)
    {
        const nlohmann::json report = client.Report();
        std::cout << client.Progress(begin, report) << ", " << report["firstWrong"] << ", "
                  << report["notifications"] << " notifications, " << rounds << " connections, "
                  << roundsThatFailed << " of them ended early, " << troubles
                  << " troubles; client " << UsageOf(client.Id()) << "; service "
                  << UsageOf(service.Id()) << "; peer " << UsageOf(peer.Id()) << "; its service "
                  << UsageOf(peersService.Id()) << std::endl;
    }

    RadioService service{"hci0", "bluetooth=linux:hci0,wifi=linux:wlan0"};
    RadioService peersService{"hci1", "bluetooth=linux:hci1"};
    ChildProcess peer{StagedTest("radios_library_peer"),
                      {},
                      {.input = true, .environment = peersService.Environment()}};
    test::LoadClient client{StagedTest("radios_soak_program"), service.Environment()};
    test::WakeUps wakeUps;
    int rounds = 0;
    int roundsThatFailed = 0;
    int roundsThatFailedWithoutTrouble = 0;
    int troubles = 0;
    bool isWarmingUp = true;

  private:
    std::ofstream log_{"/tmp/soak.log"};
    std::minstd_rand random_{static_cast<unsigned>(Clock::now().time_since_epoch().count())};
};

TEST_F(RadioSoakTest, NothingGrows)
{
    const seconds duration(std::atoi(Variable("PELACON_SOAK_SECONDS").c_str()));
    ASSERT_TRUE(WaitForPeer("ready")) << peer.Output() << peer.Errors();
    ASSERT_TRUE(client.Writes("ready", kPatience));
    const auto begin = Clock::now();
    // What is allocated once is allocated by then.
    const auto warm = begin + duration / 5;
    auto nextLine = begin + 60s;
    std::vector<std::pair<std::uint32_t, Usage>> before;
    while (Clock::now() < begin + duration) {
        const bool hasTrouble = rounds % 2 == 1;
        Round(hasTrouble ? std::optional(NextTrouble()) : std::nullopt);
        if (isWarmingUp && Clock::now() >= warm) {
            isWarmingUp = false;
            for (const std::uint32_t process :
                 {client.Id(), service.Id(), peer.Id(), peersService.Id()}) {
                before.emplace_back(process, UsageOf(process));
            }
        }
        if (Clock::now() >= nextLine) {
            nextLine += 60s;
            PrintLine(begin);
        }
    }
    PrintLine(begin);
    const nlohmann::json report = client.Report();
    EXPECT_EQ(report["wrong"], 0) << "first " << report["firstWrong"];
    EXPECT_GT(report["answered"], 0);
    EXPECT_GT(report["scanResults"], 0);
    EXPECT_GT(report["notifications"], 0);
    EXPECT_EQ(roundsThatFailedWithoutTrouble, 0);
    ExpectInTime(report, wakeUps);
    for (const auto& [process, usage] : before) {
        ExpectNoGrowth(process, usage);
    }
    EXPECT_EQ(client.End(), 0);
}

}  // namespace

}  // namespace pelacon::radios_test
