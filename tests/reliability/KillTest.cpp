// The service, and clients, killed at random moments under load. PELACON_KILLS says how often.
#include <tests/reliability/Usage.h>
#include <tests/support/ServiceProcess.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <cstdlib>
#include <exception>
#include <future>
#include <iomanip>
#include <iostream>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <thread>

namespace pelacon::test {

namespace {

using std::chrono_literals::operator""ms;

/// The time-out of the operations that the load consists of, and what may come on top.
constexpr auto kLongestCall = 5000ms + 100ms;

/// A thread of a client has one connection, or none before its first call after a loss.
constexpr std::size_t kConnections = 4;

/// Memory may grow by this much, in KiB: pages that an allocator keeps. A sanitizer keeps far more.
constexpr std::size_t kMemoryRoom = PELACON_MEMORY_ROOM;

int Kills()
{
    const char* const kills = std::getenv("PELACON_KILLS");
    return kills != nullptr ? std::atoi(kills) : PELACON_TEST_ROUNDS;
}

/// A client under load.
class LoadClient {
  public:
    LoadClient() : process_(PELACON_LOAD_CLIENT, {}, {.input = true}) {}

    bool IsReady()
    {
        const auto line = process_.NextLine();
        if (line && line->starts_with("listener ")) {
            listener_ = std::stoi(line->substr(line->find(' ')));
        }
        return Writes("ready");
    }

    /// Of its callbacks for scan results.
    std::int32_t Listener() const { return listener_; }

    /// Waits for this line, after those that were read before.
    bool Writes(const std::string& expected)
    {
        std::optional<std::string> line;
        do {
            line = process_.NextLine();
        } while (line && *line != expected);
        return line.has_value();
    }
    std::uint32_t Id() const { return process_.Id(); }

    nlohmann::json Report()
    {
        process_.Write("report");
        while (const auto line = process_.NextLine()) {
            if (line->starts_with("{")) {
                return nlohmann::json::parse(*line);
            }
        }
        ADD_FAILURE() << "the client has ended: " << process_.Errors();
        return {};
    }

    void Kill()
    {
        process_.Kill();
        process_.Wait();
    }
    int End()
    {
        process_.Write("end");
        return process_.Wait();
    }

  private:
    ChildProcess process_;
    std::int32_t listener_ = 0;
};

class KillTest : public ::testing::Test {
  protected:
    void Pause(int mostMs)
    {
        std::this_thread::sleep_for(
            std::chrono::milliseconds(random_() % static_cast<unsigned>(mostMs)));
    }

    nlohmann::json Status() const { return service.Command({{"command", "status"}}); }

    bool HasClients(std::size_t count) const
    {
        return Eventually([&] { return Status()["clients"].size() == count; });
    }

    /// Sends scan results to the client's listener until the service is killed.
    std::future<void> StreamResults(std::int32_t listener) const
    {
        std::ostringstream payload;
        for (int shift = 0; shift < 32; shift += 8) {
            payload << std::hex << std::setw(2) << std::setfill('0')
                    << ((static_cast<std::uint32_t>(listener) >> shift) & 0xFFU);
        }
        const nlohmann::json command{{"command", "flood"},
                                     {"id", "ScanResult"},
                                     {"payload", payload.str()},
                                     {"droppable", true},
                                     {"count", 1'000'000}};
        return std::async(std::launch::async, [this, command] {
            try {
                service.Command(command);
            } catch (const std::exception&) {
                // The service was killed.
            }
        });
    }

    /// A change that the service reports to those who have registered for it.
    void ChangeChannel(int channel)
    {
        service.Command({{"command", "phone.channel"}, {"channel", channel}});
    }

    /// What the process uses once connections that have ended are cleared away: when the numbers
    /// have not changed for a while.
    static Usage SettledUsageOf(std::uint32_t processId)
    {
        Usage last = UsageOf(processId);
        int same = 0;
        EXPECT_TRUE(Eventually([&] {
            const Usage usage = UsageOf(processId);
            const bool isSame =
                usage.descriptors == last.descriptors && usage.threads == last.threads;
            same = isSame ? same + 1 : 0;
            last = usage;
            std::this_thread::sleep_for(10ms);
            return same == 20;
        }));
        return last;
    }

    static void CheckUsage(std::uint32_t processId, const Usage& before)
    {
        const Usage after = SettledUsageOf(processId);
        std::cout << "  before: " << before << "\n  after:  " << after << std::endl;
        EXPECT_LE(after.descriptors, before.descriptors + kConnections);
        EXPECT_LE(after.threads, before.threads + kConnections);
        EXPECT_LE(after.memory, before.memory + kMemoryRoom);
    }

    ServiceProcess service;

  private:
    std::minstd_rand random_{
        static_cast<unsigned>(std::chrono::steady_clock::now().time_since_epoch().count())};
};

TEST_F(KillTest, AClientSurvivesKillsOfTheService)
{
    constexpr int kWarmUp = 5;
    LoadClient client;
    ASSERT_TRUE(client.IsReady());
    Usage before;
    for (int kill = 1; kill <= Kills() + kWarmUp; ++kill) {
        const auto stream = StreamResults(client.Listener());
        Pause(40);
        service.Kill();
        stream.wait();
        Pause(20);
        service.Start();
        ASSERT_TRUE(HasClients(1)) << "kill " << kill;
        // Both of these channels are new to the service, so that it reports the second in any case.
        ChangeChannel(36 + 4 * (kill % 2));
        ASSERT_TRUE(client.Writes("channel " + std::to_string(36 + 4 * (kill % 2))))
            << "kill " << kill;
        if (kill == kWarmUp) {
            before = SettledUsageOf(client.Id());
        }
    }
    const std::uint64_t results = client.Report()["scanResults"];
    EXPECT_TRUE(Eventually([&] { return client.Report()["scanResults"] > results; }));
    const nlohmann::json report = client.Report();
    std::cout << Kills() << " kills of the service: " << report << std::endl;
    EXPECT_EQ(report["wrong"], 0);
    EXPECT_GT(report["answered"], Kills());
    EXPECT_LE(report["slowestMs"], kLongestCall.count());
    CheckUsage(client.Id(), before);
    EXPECT_EQ(client.End(), 0);
}

TEST_F(KillTest, TheServiceSurvivesKillsOfClients)
{
    constexpr int kWarmUp = 5;
    LoadClient survivor;
    ASSERT_TRUE(survivor.IsReady());
    const std::uint32_t serviceId = Status()["pid"];
    Usage before;
    for (int kill = 1; kill <= Kills() + kWarmUp; ++kill) {
        LoadClient victim;
        ASSERT_TRUE(victim.IsReady()) << "kill " << kill;
        Pause(40);
        victim.Kill();
        if (kill == kWarmUp) {
            ASSERT_TRUE(HasClients(1));
            before = SettledUsageOf(serviceId);
        }
    }
    ASSERT_TRUE(HasClients(1));
    const nlohmann::json report = survivor.Report();
    std::cout << Kills() << " kills of clients, seen by another: " << report << std::endl;
    EXPECT_EQ(report["wrong"], 0);
    EXPECT_EQ(report["failed"], 0);
    EXPECT_GT(report["answered"], Kills());
    EXPECT_LE(report["slowestMs"], kLongestCall.count());
    CheckUsage(serviceId, before);
    EXPECT_EQ(survivor.End(), 0);
}

}  // namespace

}  // namespace pelacon::test
