// Notifications of which the service has several to send at once.
#include <bench/Awaited.h>
#include <bench/Bare.h>
#include <bench/Callers.h>
#include <bench/Scenarios.h>
#include <bench/Statistics.h>
#include <protocol/BleManager.h>

#include <array>
#include <cstring>
#include <stdexcept>
#include <utility>

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
            const double rate = kBurstCount / static_cast<double>(Now() - stamp.sent) * 1e9;
            rate_.Set(std::exchange(inOrder_, true) ? rate : -1);
            next_ = 0;
        }
    }

    /// Messages a second from the sending of the first to the arrival of the last.
    double Rate()
    {
        const double rate = rate_.Take();
        if (rate < 0) {
            throw std::runtime_error("Notifications of a burst came out of order.");
        }
        return rate;
    }

  private:
    std::uint64_t next_ = 0;
    bool inOrder_ = true;
    Awaited<double> rate_;
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
        for (std::uint32_t number = 0; number < kBurstCount; ++number) {
            if (!socket_.Read(message)) {
                throw std::runtime_error("The bare connection was lost.");
            }
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
