// The other side of the baseline: one thread per connection, blocking reads and writes.
#include <bench/Bare.h>
#include <bench/roles/Roles.h>

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <thread>
#include <vector>

namespace pelacon::bench {

namespace {

void PingPong(const BareSocket& socket, std::span<std::uint8_t> message)
{
    while (socket.Read(message)) {
        socket.Write(message);
    }
}

void Stream(const BareSocket& socket, std::span<std::uint8_t> message, std::uint32_t count)
{
    std::uint8_t start = 0;
    while (socket.Read({&start, 1})) {
        Stamp stamp{0, Now()};
        for (; stamp.number < count; ++stamp.number) {
            std::memcpy(message.data(), &stamp, sizeof stamp);
            socket.Write(message);
        }
    }
}

/// The connections with the job kFanOut. All of them are used by the thread of the one that was
/// written to.
class Group {
  public:
    void Serve(const BareSocket& socket, std::span<std::uint8_t> message)
    {
        Change([&] { sockets_.push_back(&socket); });
        socket.Write(message);
        std::uint8_t start = 0;
        while (socket.Read({&start, 1})) {
            Change([&] { SendToAll(message); });
        }
        Change([&] { std::erase(sockets_, &socket); });
    }

  private:
    template <typename Action>
    void Change(const Action& action)
    {
        const std::lock_guard lock(mutex_);
        action();
    }

    void SendToAll(std::span<std::uint8_t> message)
    {
        const Stamp stamp{0, Now()};
        std::memcpy(message.data(), &stamp, sizeof stamp);
        for (const BareSocket* const socket : sockets_) {
            socket->Write(message);
        }
    }

    std::mutex mutex_;
    std::vector<const BareSocket*> sockets_;
};

/// Until the other side closes the connection, which the write reports.
void Push(const BareSocket& socket, std::span<std::uint8_t> message,
          std::chrono::microseconds interval)
{
    auto next = std::chrono::steady_clock::now();
    do {
        std::this_thread::sleep_until(next += interval);
        const std::int64_t now = Now();
        std::memcpy(message.data(), &now, sizeof now);
    } while (socket.Write(message));
}

void Serve(const BareSocket& socket)
{
    BareJob job;
    if (!socket.Read({reinterpret_cast<std::uint8_t*>(&job), sizeof job})) {
        return;
    }
    std::vector<std::uint8_t> message(job.size);
    switch (job.kind) {
        case BareJob::Kind::kPingPong:
            return PingPong(socket, message);
        case BareJob::Kind::kStream:
            return Stream(socket, message, job.count);
        case BareJob::Kind::kFanOut: {
            static Group group;
            return group.Serve(socket, message);
        }
        case BareJob::Kind::kPush:
            return Push(socket, message, std::chrono::microseconds(job.interval));
    }
}

}  // namespace

int RunBareRole()
{
    const BareSocket listener =
        BareSocket::Listen(std::getenv("PELACON_RUNTIME_DIR") + std::string("/bare.sock"));
    Answer("ready");
    for (;;) {
        std::thread([socket = listener.Accept()] { Serve(socket); }).detach();
    }
}

}  // namespace pelacon::bench
