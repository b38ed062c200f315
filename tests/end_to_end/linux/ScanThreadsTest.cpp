// Scan results when no thread can be created, and in bursts that need very many threads.
#include <PelaconSDK/PelaconSDK.h>
#include <tests/support/ServiceProcess.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <pthread.h>

#include <array>
#include <atomic>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string>

namespace pelacon::test {

namespace {

constexpr char kWorld[] = R"({"peripherals": [
    {"address": "C0:00:00:00:00:01", "advertising": {"intervalMs": 5}}]})";

/// While this object lives, there is no address space for a stack of the default size: only threads
/// with an explicit, small stack can be created.
class NoThreads {
  public:
    NoThreads()
    {
        pthread_getattr_default_np(&usual_);
        pthread_attr_t huge;
        pthread_attr_init(&huge);
        pthread_attr_setstacksize(&huge, std::size_t{1} << 46U);
        if (pthread_setattr_default_np(&huge) != 0) {
            throw std::runtime_error("the usual size of stacks cannot be set");
        }
        pthread_attr_destroy(&huge);
    }
    ~NoThreads()
    {
        pthread_setattr_default_np(&usual_);
        pthread_attr_destroy(&usual_);
    }
    NoThreads(const NoThreads&) = delete;
    NoThreads& operator=(const NoThreads&) = delete;

  private:
    pthread_attr_t usual_{};
};

/// Counts the log lines about threads that could not be created.
struct Failures {
    std::atomic<int> count{0};

    static void Take(void* context, PelaconLogLevel level, const char* line)
    {
        if (level == kPelaconLogFailure &&
            std::strcmp(line, "[PelaconSDK]catch error(IPCMessageSender::OnScanResult)") == 0) {
            ++static_cast<Failures*>(context)->count;
        }
    }
};

std::array<std::atomic<int>, 2> received;

template <std::size_t Listener>
BleScanCallbacksC Counting()
{
    return {nullptr, [](std::int32_t, BleScanResultC) { ++received[Listener]; }};
}

class ScanThreads : public ::testing::Test {
  protected:
    ScanThreads()
    {
        received[0] = 0;
        received[1] = 0;
        PelaconSvcStart();
    }
    ~ScanThreads() override
    {
        PelaconSetLogSink(nullptr, nullptr, kPelaconLogTrace);
        for (const int id : ids_) {
            BleScanner::StopBleScan(id);
            BleScanner::BleScanUnRegisterCallbacks(id);
        }
        PelaconSvcStop();
    }

    int Scanning(BleScanCallbacksC* table)
    {
        int id = 0;
        EXPECT_EQ(BleScanner::BleScanRegisterCallbacks(table, &id), 0);
        EXPECT_EQ(BleScanner::StartBleScan(id, kBleScanLowLatency), 0);
        ids_.push_back(id);
        return id;
    }

    ServiceProcess service{kWorld};

  private:
    std::vector<int> ids_;
};

TEST_F(ScanThreads, AThreadThatCannotBeCreatedLosesThatResultOnly)
{
    static BleScanCallbacksC first = Counting<0>();
    static BleScanCallbacksC second = Counting<1>();
    Failures failures;
    PelaconSetLogSink(&Failures::Take, &failures, kPelaconLogFailure);
    Scanning(&first);
    Scanning(&second);
    ASSERT_TRUE(Eventually([] { return received[0] > 2 && received[1] > 2; }));
    EXPECT_EQ(failures.count, 0);
    {
        const NoThreads none;
        ASSERT_TRUE(Eventually([&] { return failures.count >= 4; }));
        EXPECT_TRUE(BleManager::IsBtEnabled()) << "the rest of the library works";
    }
    const int before[] = {received[0], received[1]};
    EXPECT_TRUE(
        Eventually([&] { return received[0] > before[0] + 2 && received[1] > before[1] + 2; }));
}

// ---- A burst

std::atomic<bool> held{false};
std::atomic<int> inside{0};

/// A figure of /proc/self/status.
long StatusOf(const std::string& name)
{
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        if (word == name + ":") {
            long figure = 0;
            status >> figure;
            return figure;
        }
    }
    throw std::runtime_error("no such figure: " + name);
}

TEST_F(ScanThreads, ABurstToASlowCallbackLeavesNoThread)
{
    constexpr int kBurst = 1000;  // the most that the service queues for a client
    constexpr int kBursts = 5;
    static BleScanCallbacksC slow{nullptr, [](std::int32_t, BleScanResultC) {
                                      ++inside;
                                      held.wait(true);
                                      --inside;
                                  }};
    held = true;
    const int id = Scanning(&slow);
    const long threads = StatusOf("Threads");
    const nlohmann::json flood{
        {"command", "flood"}, {"id", "ScanResult"}, {"count", kBurst}, {"droppable", true}};
    for (int i = 1; i <= kBursts; ++i) {
        service.Command(flood);
        ASSERT_TRUE(Eventually([&] { return inside >= i * kBurst; })) << inside;
    }
    EXPECT_TRUE(BleManager::IsBtEnabled());
    EXPECT_EQ(BleScanner::StopBleScan(id), 0);
    held = false;
    held.notify_all();
    EXPECT_TRUE(Eventually([&] { return inside == 0 && StatusOf("Threads") <= threads; }));
}

}  // namespace

}  // namespace pelacon::test
