// Five thousand results at once to a slow callback: all are delivered, and the memory of their
// threads is released.
#include <bench/scan/Scenarios.h>
#include <sdk/ipc/IPCMessageSender.h>
#include <sdk/ipc/ScanCallbacks.h>

#include <malloc.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>

namespace pelacon::bench {

namespace {

constexpr int kResults = 5000;

std::atomic<bool> held{false};
std::atomic<int> inside{0};
std::atomic<int> ended{0};

void Slow(std::int32_t /*listenerId*/, BleScanResultC /*result*/)
{
    inside.fetch_add(1);
    held.wait(true);
    ended.fetch_add(1);
}

/// The private memory of this process in kilobytes.
double OwnMemory()
{
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        if (word == "RssAnon:") {
            double kilobytes = 0;
            status >> kilobytes;
            return kilobytes;
        }
    }
    throw std::runtime_error("/proc/self/status cannot be read.");
}

int Threads()
{
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        if (word == "Threads:") {
            int threads = 0;
            status >> threads;
            return threads;
        }
    }
    return 0;
}

template <typename Condition>
void WaitUntil(const Condition& condition)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error("The burst does not come to its end.");
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

class Burst : public Scenario {
  public:
    std::string Heading() const override
    {
        return "A burst of 5,000 results to a callback that blocks";
    }

    void Round(const Effort& /*effort*/, Turn /*turn*/) override
    {
        static BleScanCallbacksC table{nullptr, &Slow};
        auto& scans = Registry<ScanCallbacks>();
        scans.AddScanCb(&table, 1);
        scans.ScanStart(1);
        const double before = OwnMemory();
        held = true;
        inside = 0;
        ended = 0;
        const protocol::ScanResultRecord record{};
        for (int i = 0; i < kResults; ++i) {
            scans.OnScanResult(record);
        }
        scans.ScanStop(1);
        scans.RemoveScanCb(1);
        WaitUntil([] { return Threads() == inside + 1; });
        const double during = OwnMemory();
        held = false;
        held.notify_all();
        WaitUntil([] { return Threads() == 1; });
        malloc_trim(0);

        delivered_.Add(ended);
        during_.Add(during - before);
        after_.Add(OwnMemory() - before);
    }

    std::vector<Row> Rows() const override { return {delivered_, during_, after_}; }

  private:
    Row delivered_{"delivered", Unit::kCount, AtLeast(kResults)};
    Row during_{"memory while all of them block", Unit::kKilobytes};
    Row after_{"memory that is left afterwards", Unit::kKilobytes, AtMost(2048)};
};

}  // namespace

std::unique_ptr<Scenario> MakeBurst()
{
    return std::make_unique<Burst>();
}

}  // namespace pelacon::bench
