// A notification to many clients.
#include <bench/Awaited.h>
#include <bench/Bare.h>
#include <bench/Callers.h>
#include <bench/Scenarios.h>
#include <bench/Statistics.h>
#include <protocol/BleManager.h>

#include <array>
#include <atomic>
#include <cstring>
#include <list>
#include <stdexcept>
#include <thread>
#include <utility>

namespace pelacon::bench {

namespace {

constexpr std::uint32_t kFanOutSize = 72;
constexpr std::size_t kFanOutClients = 64;

/// The arrival of one message at all clients.
class Delivery {
  public:
    void Begin()
    {
        left_ = static_cast<int>(kFanOutClients);
        isSound_ = true;
    }

    /// Called in the thread of that client.
    void Take(std::size_t client, const std::uint8_t* message)
    {
        Stamp stamp;
        std::memcpy(&stamp, message, sizeof stamp);
        if (std::exchange(last_.at(client), stamp.sent) == stamp.sent) {
            isSound_ = false;  // the same one twice
        }
        if (left_.fetch_sub(1) == 1) {
            duration_.Set(isSound_ ? Now() - stamp.sent : -1);
        }
    }

    /// From the sending to the last arrival, in nanoseconds.
    double Duration()
    {
        const std::int64_t duration = duration_.Take();
        if (duration < 0) {
            throw std::runtime_error("A client received a notification twice.");
        }
        return static_cast<double>(duration);
    }

  private:
    std::atomic<int> left_{0};
    std::atomic<bool> isSound_{true};
    std::array<std::int64_t, kFanOutClients> last_{};
    Awaited<std::int64_t> duration_;
};

/// Bare connections, each with a thread that reads.
class BareReaders {
  public:
    BareReaders(const std::string& path, Delivery& delivery)
    {
        for (std::size_t client = 0; client < kFanOutClients; ++client) {
            const BareSocket& socket = sockets_.emplace_back(
                BareSocket::Connect(path, {BareJob::Kind::kFanOut, kFanOutSize}));
            std::array<std::uint8_t, kFanOutSize> message{};
            socket.Read(message);  // it takes part from now on
            threads_.emplace_back([&socket, &delivery, client, message]() mutable {
                while (socket.Read(message)) {
                    delivery.Take(client, message.data());
                }
            });
        }
    }

    ~BareReaders()
    {
        for (const BareSocket& socket : sockets_) {
            socket.Shutdown();
        }
    }

    BareReaders(const BareReaders&) = delete;
    BareReaders& operator=(const BareReaders&) = delete;

    void SendToAll() const { sockets_.front().Write(std::array<std::uint8_t, 1>{}); }

  private:
    std::list<BareSocket> sockets_;
    std::list<std::jthread> threads_;
};

class FanOut : public Scenario {
  public:
    explicit FanOut(Peers& peers) : peers_(peers), readers_(peers.barePath, delivery_)
    {
        for (std::size_t number = 0; number < kFanOutClients; ++number) {
            const auto& client = clients_.emplace_back(MakeEchoClient(peers.echoFolder));
            client->RegisterMessageCallback(
                protocol::kBtStateChanged.id,
                [this, number](auto& item) { delivery_.Take(number, item.message); });
            order_ += ' ' + ClientId(*client);
        }
    }

    std::string Heading() const override
    {
        return "A notification of " + std::to_string(kFanOutSize) + " bytes to " +
               std::to_string(kFanOutClients) + " clients, until the last callback";
    }

    void Round(const Effort& effort, Turn turn) override
    {
        const auto [bare, ours] = Both(
            turn, [&] { return Durations(effort.bursts, [this] { readers_.SendToAll(); }); },
            [&] { return Durations(effort.bursts, [this] { peers_.echo.Order(order_); }); });
        p50_.Add(Median(bare), Median(ours));
    }

    std::vector<Row> Rows() const override { return {p50_}; }

  private:
    template <typename Send>
    std::vector<double> Durations(int count, const Send& send)
    {
        std::vector<double> durations;
        for (int number = 0; number < count; ++number) {
            delivery_.Begin();
            send();
            durations.push_back(delivery_.Duration());
        }
        return durations;
    }

    Peers& peers_;
    Delivery delivery_;
    BareReaders readers_;
    std::list<std::unique_ptr<IPCMessageClient>> clients_;
    std::string order_ = "send 0 1 " + std::to_string(kFanOutSize);
    Row p50_{"p50", Unit::kNanoseconds, AtMost(1.1)};
};

}  // namespace

std::unique_ptr<Scenario> MakeFanOut(Peers& peers)
{
    return std::make_unique<FanOut>(peers);
}

}  // namespace pelacon::bench
