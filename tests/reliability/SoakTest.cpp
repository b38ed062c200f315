// Mixed load with faults and restarts, for long: neither client nor service grows.
// PELACON_SOAK_SECONDS says how long.
#include <tests/reliability/LoadClient.h>
#include <tests/reliability/Usage.h>
#include <tests/support/ServiceProcess.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <array>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <random>
#include <string>
#include <thread>

namespace pelacon::test {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::seconds;
using namespace std::chrono_literals;

seconds Duration()
{
    const char* const length = std::getenv("PELACON_SOAK_SECONDS");
    return seconds(length != nullptr ? std::atoi(length) : 5);
}

class SoakTest : public ::testing::Test {
  protected:
    void Disturb()
    {
        // Each of these delays or ends requests and connections; none changes an answer.
        static const std::array kDisturbances{
            R"({"command": "fault.add", "fault": {"request": "any", "do": "delay", "ms": 20, "times": 100}})",
            R"({"command": "fault.add", "fault": {"request": "any", "do": "never", "times": 1}})",
            R"({"command": "fault.add", "fault": {"request": "any", "do": "empty", "times": 20}})",
            R"({"command": "fault.add", "fault": {"request": "any", "do": "malformed", "times": 5}})",
            R"({"command": "fault.add", "fault": {"request": "any", "do": "disconnect", "times": 5}})",
            R"({"command": "disconnect"})",
            R"({"command": "malformed"})",
            R"({"command": "restart"})",
        };
        const std::size_t choice = random_() % (kDisturbances.size() + 2);
        if (choice < kDisturbances.size()) {
            service.Command(nlohmann::json::parse(kDisturbances[choice]));
        } else if (choice == kDisturbances.size() && isWarmingUp) {
            service.Kill();  // later it stays the same process, which must not grow
            service.Start();
        } else {
            service.Command({{"command", "flood"},
                             {"id", "ScanResult"},
                             {"payload", client.ScanResult()},
                             {"droppable", true},
                             {"count", 20'000}});
        }
        ++disturbances;
    }

    std::uint32_t ServiceId() const { return service.Command({{"command", "status"}})["pid"]; }

    /// One line: what the client has done since the last one.
    void PrintLine(Clock::time_point begin)
    {
        std::cout << client.Progress(begin, client.Report()) << ", " << disturbances
                  << " disturbances; client " << UsageOf(client.Id()) << "; service "
                  << UsageOf(ServiceId()) << std::endl;
    }

    ServiceProcess service;
    LoadClient client;
    WakeUps wakeUps;
    int disturbances = 0;
    bool isWarmingUp = true;

  private:
    std::minstd_rand random_{static_cast<unsigned>(Clock::now().time_since_epoch().count())};
};

TEST_F(SoakTest, NothingGrows)
{
    ASSERT_TRUE(client.IsReady());
    const auto begin = Clock::now();
    const auto end = begin + Duration();
    // What is allocated once is allocated by then.
    const auto warm = begin + Duration() / 5;
    auto nextLine = begin + 60s;
    Usage before;
    Usage serviceBefore;
    while (Clock::now() < end) {
        std::this_thread::sleep_for(100ms);
        Disturb();
        if (isWarmingUp && Clock::now() >= warm) {
            isWarmingUp = false;
            before = UsageOf(client.Id());
            serviceBefore = UsageOf(ServiceId());
        }
        if (Clock::now() >= nextLine) {
            nextLine += 60s;
            PrintLine(begin);
        }
    }
    service.Command({{"command", "fault.clear"}});
    PrintLine(begin);
    const nlohmann::json report = client.Report();
    EXPECT_EQ(report["wrong"], 0) << "first " << report["firstWrong"];
    EXPECT_GT(report["answered"], 0);
    ExpectInTime(report, wakeUps);
    ExpectNoGrowth(client.Id(), before);
    ExpectNoGrowth(ServiceId(), serviceBefore);
    EXPECT_EQ(client.End(), 0);
}

}  // namespace

}  // namespace pelacon::test
