// A notification to many clients.
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

namespace pelacon::bench {

namespace {

constexpr std::uint32_t kFanOutSize = 72;
constexpr int kFanOutClients = 64;

/// The arrival of one message at all clients.
class Delivery {
  public:
    void Begin()
    {
        duration_ = 0;
        left_ = kFanOutClients;
    }

    void Take(const std::uint8_t* message)
    {
        Stamp stamp;
        std::memcpy(&stamp, message, sizeof stamp);
        if (left_.fetch_sub(1) == 1) {
            duration_ = Now() - stamp.sent;
            duration_.notify_all();
        }
    }

    /// From the sending to the last arrival, in nanoseconds.
    double Duration() const
    {
        duration_.wait(0);
        return static_cast<double>(duration_);
    }

  private:
    std::atomic<int> left_{0};
    std::atomic<std::int64_t> duration_{0};
};

/// Bare connections, each with a thread that reads.
class BareReaders {
  public:
    BareReaders(const std::string& path, Delivery& delivery)
    {
        for (int number = 0; number < kFanOutClients; ++number) {
            const BareSocket& socket = sockets_.emplace_back(
                BareSocket::Connect(path, {BareJob::Kind::kFanOut, kFanOutSize}));
            threads_.emplace_back([&socket, &delivery] {
                std::array<std::uint8_t, kFanOutSize> message{};
                while (socket.Read(message)) {
                    delivery.Take(message.data());
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
        for (int number = 0; number < kFanOutClients; ++number) {
            const auto& client = clients_.emplace_back(MakeEchoClient(peers.echoFolder));
            client->RegisterMessageCallback(protocol::kBtStateChanged.id,
                                            [this](auto& item) { delivery_.Take(item.message); });
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
