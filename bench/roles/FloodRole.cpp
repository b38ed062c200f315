// A service that sends notifications as fast as the client reads them: it writes frames itself,
// blocking, without the queue of the real service.
#include <IPCMessage/Transport.h>
#include <bench/roles/Roles.h>
#include <protocol/BleManager.h>

#include <condition_variable>
#include <cstring>
#include <iostream>
#include <memory>
#include <mutex>
#include <sstream>
#include <thread>
#include <vector>

namespace pelacon::bench {

namespace {

using ipc::Connection;
using ipc::FrameHeader;
using ipc::FrameKind;
using ipc::IoStatus;

/// The event connection of the latest client.
class Newest {
  public:
    void Set(std::shared_ptr<Connection> connection)
    {
        const std::lock_guard lock(mutex_);
        connection_ = std::move(connection);
        changed_.notify_all();
    }

    std::shared_ptr<Connection> OtherThan(const std::shared_ptr<Connection>& dead)
    {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return connection_ && connection_ != dead; });
        return connection_;
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::shared_ptr<Connection> connection_;
};

/// Answers each request with status 0.
void AnswerRequests(Connection& connection, const ipc::FrameBuffer& buffer)
{
    const protocol::StatusReply done{0};
    for (;;) {
        const ipc::IoResult result = connection.Receive(buffer.Room());
        const auto request = result.status == IoStatus::kDone
                                 ? ipc::ReadFrame(buffer.Room().first(result.size))
                                 : std::nullopt;
        if (!request) {
            return;
        }
        FrameHeader header{.kind = FrameKind::kReply, .sequence = request->sequence};
        header.flags = ipc::kHasPayload;
        header.msgId = request->msgId;
        connection.Send(ipc::WriteFrame(
            buffer.Room(), header, {reinterpret_cast<const std::uint8_t*>(&done), sizeof done}));
    }
}

void Serve(const std::shared_ptr<Connection>& connection, Newest& newest)
{
    const ipc::FrameBuffer buffer;
    const ipc::IoResult result = connection->Receive(buffer.Room());
    const auto hello = result.status == IoStatus::kDone
                           ? ipc::ReadFrame(buffer.Room().first(result.size))
                           : std::nullopt;
    if (!hello) {
        return;
    }
    if (hello->kind == FrameKind::kHelloEvent) {
        connection->Send(
            ipc::WriteFrame(buffer.Room(), FrameHeader{.kind = FrameKind::kWelcome}, {}));
        newest.Set(connection);
    } else {
        AnswerRequests(*connection, buffer);
    }
}

bool Flood(Connection& connection, std::size_t size, std::uint32_t count)
{
    std::vector<std::uint8_t> payload(size);
    const ipc::FrameBuffer buffer;
    FrameHeader header{.kind = FrameKind::kNotification};
    header.flags = ipc::kHasPayload;
    header.msgId = protocol::kBtStateChanged.id;
    const auto frame = ipc::WriteFrame(buffer.Room(), header, payload);
    for (std::uint32_t index = 0; index < count; ++index) {
        std::memcpy(buffer.Room().data() + sizeof(FrameHeader), &index, sizeof index);
        if (connection.Send(frame) != IoStatus::kDone) {
            return false;
        }
    }
    return true;
}

}  // namespace

int RunFloodRole()
{
    const auto listener = ipc::Listen(protocol::kServicePipe);
    Newest newest;
    std::thread([&] {
        while (std::shared_ptr<Connection> connection = listener->Accept()) {
            std::thread([connection, &newest] { Serve(connection, newest); }).detach();
        }
    }).detach();
    Answer("ready");

    std::shared_ptr<Connection> connection;
    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream words(line);
        std::size_t size = 0;
        std::uint32_t count = 0;
        words >> size >> count;
        while (!connection || !Flood(*connection, size, count)) {
            connection = newest.OtherThan(connection);
        }
        Answer("done");
    }
    std::_Exit(0);
}

}  // namespace pelacon::bench
