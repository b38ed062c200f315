// Delivery of scan results to listeners, compared with the minimum: one allocation of 64 bytes and
// one detached thread for each listener and result.
#include <bench/Bare.h>
#include <bench/scan/Scenarios.h>
#include <sdk/ipc/IPCMessageSender.h>
#include <sdk/ipc/ScanCallbacks.h>

#include <atomic>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <thread>

namespace pelacon::bench {

namespace {

std::atomic<int> delivered{0};
std::atomic<std::uint64_t> seen{0};

/// The callback: reads the result and counts.
void Look(const BleScanResultC& result)
{
    seen.fetch_add(result.address, std::memory_order_relaxed);
    delivered.fetch_add(1, std::memory_order_release);
}

void WaitFor(int deliveries)
{
    while (delivered.load(std::memory_order_acquire) < deliveries) {
        std::this_thread::yield();
    }
}

BleScanResultC SomeResult()
{
    BleScanResultC result{};
    result.address = 0xC00000000001;
    result.dataLen = sizeof result.data;
    return result;
}

/// Deliveries per second. Results are sent in batches, as they arrive from a pipe.
template <typename SendOne>
double Rate(int results, int listeners, const SendOne& sendOne)
{
    constexpr int kBatch = 64;
    delivered = 0;
    const std::int64_t begin = Now();
    for (int sent = 0; sent < results;) {
        for (int i = 0; i < kBatch && sent < results; ++i, ++sent) {
            sendOne();
        }
        WaitFor(sent * listeners);
    }
    return results * listeners * 1e9 / static_cast<double>(Now() - begin);
}

double BareRate(int results, int listeners)
{
    const BleScanResultC result = SomeResult();
    return Rate(results, listeners, [&] {
        for (int i = 0; i < listeners; ++i) {
            void* copy = std::malloc(sizeof result);
            std::memcpy(copy, &result, sizeof result);
            std::thread([copy] {
                BleScanResultC mine;
                std::memcpy(&mine, copy, sizeof mine);
                Look(mine);
                std::free(copy);
            }).detach();
        }
    });
}

double OurRate(int results, int listeners)
{
    static BleScanCallbacksC table{nullptr,
                                   [](std::int32_t, BleScanResultC result) { Look(result); }};
    auto& scans = Registry<ScanCallbacks>();
    for (int id = 1; id <= listeners; ++id) {
        scans.AddScanCb(&table, id);
        scans.ScanStart(id);
    }
    protocol::ScanResultRecord record{};
    record.result = std::bit_cast<protocol::ScanResult>(SomeResult());
    const double rate = Rate(results, listeners, [&] { scans.OnScanResult(record); });
    for (int id = 1; id <= listeners; ++id) {
        scans.ScanStop(id);
        scans.RemoveScanCb(id);
    }
    return rate;
}

class Delivery : public Scenario {
  public:
    std::string Heading() const override
    {
        return "Scan results, against bare malloc(64), thread and detach";
    }

    void Round(const Effort& effort, Turn turn) override
    {
        const int results = effort.calls / 4;
        Measure(one_, results, 1, turn);
        Measure(eight_, results / 8, 8, turn);
    }

    std::vector<Row> Rows() const override { return {one_, eight_}; }

  private:
    static void Measure(Row& row, int results, int listeners, Turn turn)
    {
        const auto [bare, ours] = Both(
            turn, [&] { return BareRate(results, listeners); },
            [&] { return OurRate(results, listeners); });
        row.Add(bare, ours);
    }

    // At most 1.3 times the bare cost.
    Row one_{"delivered a second, 1 listener", Unit::kPerSecond, AtLeast(1 / 1.3)};
    Row eight_{"delivered a second, 8 listeners", Unit::kPerSecond, AtLeast(1 / 1.3)};
};

}  // namespace

std::unique_ptr<Scenario> MakeDelivery()
{
    return std::make_unique<Delivery>();
}

}  // namespace pelacon::bench
