// Notifications: their throughput, and their latency while the application makes requests.
#include <PelaconSDK/PelaconSDK.h>
#include <bench/Arrivals.h>
#include <bench/Bare.h>
#include <bench/Callers.h>
#include <bench/Scenarios.h>
#include <bench/Statistics.h>
#include <protocol/BleManager.h>

#include <array>
#include <atomic>
#include <cstring>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace pelacon::bench {

namespace {

Arrivals& Delivered()
{
    static Arrivals arrivals;
    return arrivals;
}

BtManagerCallbacksC& CountingTable()
{
    static BtManagerCallbacksC table{
        [](std::int32_t state) { Delivered().Take(static_cast<std::uint32_t>(state)); }};
    return table;
}

class NotificationRate : public Scenario {
  public:
    explicit NotificationRate(Peers& peers) : peers_(peers) {}

    std::string Heading() const override
    {
        return "Notifications a second to an application callback";
    }

    void Round(const Effort& effort, Turn turn) override
    {
        UseRuntimeFolder(peers_.floodFolder);
        PelaconSvcStart();
        if (RegisterBtStateChangeCallbacks(&CountingTable()) != kBleStatusSuccess) {
            throw std::runtime_error("The callback could not be registered.");
        }
        for (Size& size : sizes_) {
            const auto [bare, ours] = Both(
                turn, [&] { return BareRate(size.bytes, effort.notifications); },
                [&] { return Rate(size.bytes, effort.notifications); });
            size.row.Add(bare, ours);
        }
        UnRegisterBtStateChangeCallbacks(&CountingTable());
        PelaconSvcStop();
    }

    std::vector<Row> Rows() const override { return {sizes_[0].row, sizes_[1].row}; }

  private:
    struct Size {
        std::uint32_t bytes;
        Row row;
    };

    double BareRate(std::uint32_t size, int count) const
    {
        const auto messages = static_cast<std::uint32_t>(count);
        const BareSocket socket =
            BareSocket::Connect(peers_.barePath, {BareJob::Kind::kStream, size, messages});
        std::vector<std::uint8_t> message(size);
        Arrivals arrivals;
        arrivals.Expect(messages);
        socket.Write(std::array<std::uint8_t, 1>{});
        for (std::uint32_t left = messages; left > 0 && socket.Read(message); --left) {
            std::uint32_t number = 0;
            std::memcpy(&number, message.data(), sizeof number);
            arrivals.Take(number);
        }
        return arrivals.Rate();
    }

    double Rate(std::uint32_t size, int count) const
    {
        Delivered().Expect(static_cast<std::uint32_t>(count));
        peers_.flood.Order(std::to_string(size) + " " + std::to_string(count));
        return Delivered().Rate();
    }

    Peers& peers_;
    std::array<Size, 2> sizes_{{{72, Row("72 bytes", Unit::kPerSecond, AtLeast(0.7))},
                                {1112, Row("1112 bytes", Unit::kPerSecond, AtLeast(0.7))}}};
};

/// A thread that repeats an action while this object lives.
class Repeating {
  public:
    template <typename Action>
    explicit Repeating(Action action)
        : thread_([this, action = std::move(action)]() mutable {
              while (!ended_.load(std::memory_order_relaxed)) {
                  action();
              }
          })
    {}
    ~Repeating()
    {
        ended_ = true;
        thread_.join();
    }
    Repeating(const Repeating&) = delete;
    Repeating& operator=(const Repeating&) = delete;

  private:
    std::atomic<bool> ended_{false};
    std::thread thread_;
};

/// The latencies of messages that contain their time of sending.
class Delays {
  public:
    void Take(const std::uint8_t* message)
    {
        const std::int64_t now = Now();
        std::int64_t sent = 0;
        std::memcpy(&sent, message, sizeof sent);
        delays_.push_back(static_cast<double>(now - sent));
    }

    std::vector<double> Taken() { return std::exchange(delays_, {}); }

  private:
    std::vector<double> delays_;
};

class NotificationLatency : public Scenario {
  public:
    explicit NotificationLatency(Peers& peers)
        : peers_(peers), client_(MakeEchoClient(peers.echoFolder))
    {
        client_->RegisterMessageCallback(protocol::kBtStateChanged.id, [this](auto& item) {
            const std::lock_guard lock(mutex_);
            delays_.Take(item.message);
        });
    }

    std::string Heading() const override
    {
        return "From the sending of a notification to its callback, while a thread makes requests";
    }

    void Round(const Effort& effort, Turn turn) override
    {
        const auto [bare, ours] = Both(
            turn, [&] { return BareDelays(effort.pushing); },
            [&] { return OurDelays(effort.pushing); });
        if (bare.empty() || ours.empty()) {
            throw std::runtime_error("No notification came.");
        }
        p50_.Add(Median(bare), Median(ours));
        p99_.Add(Percentile(bare, 0.99), Percentile(ours, 0.99));
    }

    std::vector<Row> Rows() const override { return {p50_, p99_}; }

  private:
    static constexpr std::size_t kCallSize = 64;
    static constexpr std::size_t kSize = 72;
    static constexpr std::uint32_t kIntervalMicroseconds = 500;

    std::vector<double> BareDelays(std::chrono::milliseconds duration) const
    {
        const BareSocket pushes = BareSocket::Connect(
            peers_.barePath, {BareJob::Kind::kPush, kSize, 0, kIntervalMicroseconds});
        Delays delays;
        {
            const Repeating calling(
                [caller = BareCaller(peers_.barePath, kCallSize)]() mutable { caller(0); });
            std::thread reading([&] {
                std::array<std::uint8_t, kSize> message{};
                while (pushes.Read(message)) {
                    delays.Take(message.data());
                }
            });
            std::this_thread::sleep_for(duration);
            pushes.Shutdown();
            reading.join();
        }
        return delays.Taken();
    }

    std::vector<double> OurDelays(std::chrono::milliseconds duration)
    {
        {
            const Repeating calling(
                [caller = ClientCaller(*client_, kCallSize)]() mutable { caller(0); });
            peers_.echo.Order("push " + ClientId(*client_) + ' ' +
                              std::to_string(kIntervalMicroseconds));
            std::this_thread::sleep_for(duration);
            peers_.echo.Order("stop");
        }
        const std::lock_guard lock(mutex_);
        return delays_.Taken();
    }

    Peers& peers_;
    std::mutex mutex_;
    Delays delays_;
    std::unique_ptr<IPCMessageClient> client_;
    Row p50_{"p50", Unit::kNanoseconds, AtMost(3)};
    Row p99_{"p99", Unit::kNanoseconds};
};

}  // namespace

std::unique_ptr<Scenario> MakeNotificationRate(Peers& peers)
{
    return std::make_unique<NotificationRate>(peers);
}

std::unique_ptr<Scenario> MakeNotificationLatency(Peers& peers)
{
    return std::make_unique<NotificationLatency>(peers);
}

}  // namespace pelacon::bench
