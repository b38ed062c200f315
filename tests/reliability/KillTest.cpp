// The service, and clients, killed at random moments under load. PELACON_KILLS says how often.
#include <tests/reliability/LoadClient.h>
#include <tests/reliability/Usage.h>
#include <tests/support/ServiceProcess.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <cstdlib>
#include <exception>
#include <future>
#include <iostream>
#include <random>
#include <string>
#include <thread>

namespace pelacon::test {

namespace {

int Kills()
{
    const char* const kills = std::getenv("PELACON_KILLS");
    return kills != nullptr ? std::atoi(kills) : PELACON_TEST_ROUNDS;
}

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
    std::future<void> StreamResults(const LoadClient& client) const
    {
        const nlohmann::json command{{"command", "flood"},
                                     {"id", "ScanResult"},
                                     {"payload", client.ScanResult()},
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

    ServiceProcess service;
    WakeUps wakeUps;

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
        const auto stream = StreamResults(client);
        Pause(40);
        service.Kill();
        stream.wait();
        Pause(20);
        service.Start();
        ASSERT_TRUE(HasClients(1)) << "kill " << kill;
        // After a start the phone is on neither of these channels.
        ChangeChannel(36 + 4 * (kill % 2));
        ASSERT_TRUE(client.Writes("channel " + std::to_string(36 + 4 * (kill % 2))))
            << "kill " << kill;
        if (kill == kWarmUp) {
            before = UsageOf(client.Id());
        }
    }
    const std::uint64_t results = client.Report()["scanResults"];
    EXPECT_TRUE(Eventually([&] { return client.Report()["scanResults"] > results; }));
    const nlohmann::json report = client.Report();
    std::cout << Kills() << " kills of the service: " << report << std::endl;
    EXPECT_EQ(report["wrong"], 0);
    EXPECT_GT(report["answered"], Kills());
    ExpectInTime(report, wakeUps);
    ExpectNoGrowth(client.Id(), before);
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
            before = UsageOf(serviceId);
        }
    }
    ASSERT_TRUE(HasClients(1));
    const nlohmann::json report = survivor.Report();
    std::cout << Kills() << " kills of clients, seen by another: " << report << std::endl;
    EXPECT_EQ(report["wrong"], 0);
    EXPECT_EQ(report["failed"], 0);
    EXPECT_GT(report["answered"], Kills());
    ExpectInTime(report, wakeUps);
    ExpectNoGrowth(serviceId, before);
    EXPECT_EQ(survivor.End(), 0);
}

}  // namespace

}  // namespace pelacon::test
