// Notifications of which the service has several to send at once.
#include <bench/Bare.h>
#include <bench/Callers.h>
#include <bench/Scenarios.h>
#include <bench/Statistics.h>
#include <protocol/BleManager.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstring>
#include <stdexcept>
#include <thread>

namespace pelacon::bench {

namespace {

constexpr std::uint32_t kBurstSize = 72;
constexpr std::uint32_t kBurstCount = 512;  // fewer than a service queues for a client

class Burst {
  public:
    /// Takes the messages of a burst, in the thread that receives them.
    void Take(const std::uint8_t* message)
    {
        Stamp stamp;
        std::memcpy(&stamp, message, sizeof stamp);
        inOrder_ = inOrder_ && stamp.number == next_;
        if (++next_ == kBurstCount) {
            rate_ = inOrder_ ? kBurstCount / static_cast<double>(Now() - stamp.sent) * 1e9 : -1;
            next_ = 0;
            inOrder_ = true;
            rate_.notify_all();
        }
    }

    /// Messages a second from the sending of the first to the arrival of the last.
    double Rate()
    {
        rate_.wait(0);
        const double rate = rate_.exchange(0);
        if (rate < 0) {
            throw std::runtime_error("Notifications of a burst came out of order.");
        }
        return rate;
    }

  private:
    std::uint64_t next_ = 0;
    bool inOrder_ = true;
    std::atomic<double> rate_{0};
};

class Bursts : public Scenario {
  public:
    explicit Bursts(Peers& peers)
        : peers_(peers),
          socket_(BareSocket::Connect(peers.barePath,
                                      {BareJob::Kind::kStream, kBurstSize, kBurstCount})),
          client_(MakeEchoClient(peers.echoFolder)),
          order_("send 0 " + std::to_string(kBurstCount) + ' ' + std::to_string(kBurstSize) + ' ' +
                 ClientId(*client_))
    {
        client_->RegisterMessageCallback(protocol::kBtStateChanged.id,
                                         [this](auto& item) { ours_.Take(item.message); });
    }

    std::string Heading() const override
    {
        return "Notifications a second, " + std::to_string(kBurstCount) + " at once";
    }

    void Round(const Effort& effort, Turn turn) override
    {
        const auto rates = [&effort](const auto& one) {
            std::vector<double> all;
            for (int number = 0; number < effort.bursts; ++number) {
                all.push_back(one());
            }
            return Median(all);
        };
        const auto [bare, ours] = Both(
            turn, [&] { return rates([this] { return BareRate(); }); },
            [&] { return rates([this] { return Rate(); }); });
        row_.Add(bare, ours);
    }

    std::vector<Row> Rows() const override { return {row_}; }

  private:
    double BareRate()
    {
        socket_.Write(std::array<std::uint8_t, 1>{});
        std::array<std::uint8_t, kBurstSize> message{};
        for (std::uint32_t number = 0; number < kBurstCount && socket_.Read(message); ++number) {
            bare_.Take(message.data());
        }
        return bare_.Rate();
    }

    double Rate()
    {
        peers_.echo.Order(order_);
        return ours_.Rate();
    }

    Peers& peers_;
    BareSocket socket_;
    Burst bare_;
    Burst ours_;
    std::unique_ptr<IPCMessageClient> client_;
    const std::string order_;
    Row row_{std::to_string(kBurstSize) + " bytes", Unit::kPerSecond, AtLeast(1.3)};
};

}  // namespace

std::unique_ptr<Scenario> MakeBursts(Peers& peers)
{
    return std::make_unique<Bursts>(peers);
}

}  // namespace pelacon::bench
