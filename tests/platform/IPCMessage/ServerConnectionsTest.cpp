// Connections when memory or descriptors run out, with a scripted listener.
#include <IPCMessage/ServerConnections.h>
#include <tests/platform/IPCMessage/Fixture.h>

#include <gmock/gmock.h>

#include <functional>
#include <new>
#include <queue>

namespace pelacon::test {

namespace {

using ipc::IoResult;
using ipc::IoStatus;
using testing::ElementsAre;
using testing::HasSubstr;

/// Reports its destruction.
class CountedConnection : public ipc::Connection {
  public:
    explicit CountedConnection(std::atomic<int>& open) : open_(open)
    {
        peer_.processId = 7;
        peer_.user = "1000";
        ++open_;
    }
    ~CountedConnection() override { --open_; }
    CountedConnection(const CountedConnection&) = delete;
    CountedConnection& operator=(const CountedConnection&) = delete;

    const ipc::Peer& GetPeer() const noexcept override { return peer_; }
    IoStatus Send(std::span<const std::uint8_t>) override { return IoStatus::kLost; }
    IoStatus Send(std::span<const std::uint8_t>, ipc::Deadline&) override
    {
        return IoStatus::kLost;
    }
    IoStatus TrySend(std::span<const std::uint8_t>) override { return IoStatus::kLost; }
    IoResult Receive(std::span<std::uint8_t>) override { return {}; }
    IoResult Receive(std::span<std::uint8_t>, ipc::Deadline&) override { return {}; }
    IoStatus ReceiveSome(ipc::FrameBatch&) override { return IoStatus::kLost; }
    bool IsConnected() noexcept override { return true; }
    void StopReceiving() noexcept override {}
    void Shutdown() noexcept override {}

  private:
    std::atomic<int>& open_;
    ipc::Peer peer_;
};

/// Accepts the connections that a test gives it.
class ListenerOfTests : public ipc::Listener {
  public:
    using Arrival = std::function<std::unique_ptr<ipc::Connection>()>;

    void Come(Arrival arrival)
    {
        const std::lock_guard lock(mutex_);
        arrivals_.push(std::move(arrival));
        changed_.notify_all();
    }

    std::unique_ptr<ipc::Connection> Accept() override
    {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return down_ || !arrivals_.empty(); });
        if (down_) {
            return nullptr;
        }
        const Arrival arrival = std::move(arrivals_.front());
        arrivals_.pop();
        lock.unlock();
        return arrival();
    }
    bool Admits(const ipc::Peer& /*peer*/) const override { return true; }
    std::size_t MostConnections() const noexcept override { return 1000; }
    bool HasRoom() override { return hasRoom; }
    void Shutdown() noexcept override
    {
        const std::lock_guard lock(mutex_);
        down_ = true;
        changed_.notify_all();
    }
    void Close() noexcept override {}
    const std::string& Address() const noexcept override { return nowhere_; }
    const std::string& StateFile() const noexcept override { return nowhere_; }

    std::atomic<bool> hasRoom{true};

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::queue<Arrival> arrivals_;
    bool down_ = false;
    std::string nowhere_;
};

class ServerConnectionsTest : public testing::Test {
  protected:
    void Start(ipc::ServerConnections::Serve serve)
    {
        auto listener = std::make_unique<ListenerOfTests>();
        listener_ = listener.get();
        connections_.emplace(
            std::move(listener), counters_, std::move(serve),
            [this](std::string_view sentence) { warnings_.Put(std::string(sentence)); });
    }

    void Come()
    {
        listener_->Come([this] { return std::make_unique<CountedConnection>(open_); });
    }

    std::atomic<int> open_{0};
    ipc::ServerCounters counters_;
    Mailbox<std::string> warnings_;
    ListenerOfTests* listener_ = nullptr;
    std::optional<ipc::ServerConnections> connections_;
};

TEST_F(ServerConnectionsTest, RunningOutOfMemoryEndsOneConnectionOnly)
{
    std::atomic<int> served{0};
    Start([&](ipc::ServedConnection&) {
        if (++served == 1) {
            throw std::bad_alloc();
        }
    });
    Come();
    EXPECT_TRUE(Eventually([&] { return served == 1 && open_ == 0; }));
    Come();
    EXPECT_TRUE(Eventually([&] { return served == 2 && open_ == 0; }));
    EXPECT_THAT(warnings_.All(), ElementsAre(HasSubstr("no memory")));
}

TEST_F(ServerConnectionsTest, AcceptingGoesOnAfterRunningOutOfMemory)
{
    std::atomic<int> served{0};
    Start([&](ipc::ServedConnection&) { ++served; });
    listener_->Come([]() -> std::unique_ptr<ipc::Connection> { throw std::bad_alloc(); });
    Come();
    EXPECT_TRUE(Eventually([&] { return served == 1; }));
    EXPECT_THAT(warnings_.All(), ElementsAre(HasSubstr("no memory")));
}

TEST_F(ServerConnectionsTest, RefusedCallersAreReportedOnce)
{
    std::atomic<int> served{0};
    Start([&](ipc::ServedConnection&) { ++served; });
    listener_->hasRoom = false;
    for (int i = 0; i < 50; ++i) {
        Come();
    }
    EXPECT_TRUE(Eventually([&] { return counters_.refusedPeers == 50 && open_ == 0; }));
    EXPECT_EQ(served, 0);
    EXPECT_THAT(warnings_.All(),
                ElementsAre("a connection of process 7, user 1000, is turned away: the system has "
                            "no file descriptor left"));
    listener_->hasRoom = true;
    Come();
    EXPECT_TRUE(Eventually([&] { return served == 1; }));
}

}  // namespace

}  // namespace pelacon::test
