#include <tests/platform/IPCMessage/RawPeers.h>

namespace pelacon::test {

using ipc::FrameHeader;
using ipc::FrameKind;
using ipc::IoStatus;

ByteVector MakeFrame(const FrameHeader& header, const ByteVector& payload, std::string_view name)
{
    ByteVector room(sizeof(FrameHeader) + payload.size() + name.size());
    ipc::WriteFrame(room, header, payload, name);
    return room;
}

bool RawConnection::SendBytes(const ByteVector& bytes)
{
    ipc::Deadline deadline(kPatience);
    return connection_->Send(bytes, deadline) == IoStatus::kDone;
}

bool RawConnection::Send(const FrameHeader& header, const ByteVector& payload)
{
    FrameHeader marked = header;
    if (!payload.empty()) {
        marked.flags |= ipc::kHasPayload;
    }
    return SendBytes(MakeFrame(marked, payload));
}

std::optional<FrameHeader> RawConnection::Receive()
{
    ipc::Deadline deadline(kPatience);
    const ipc::IoResult result = connection_->Receive(buffer_.Room(), deadline);
    if (result.status == IoStatus::kTimeout) {
        throw std::runtime_error("nothing was received");
    }
    if (result.status != IoStatus::kDone) {
        return std::nullopt;
    }
    const auto header = buffer_.Read(result.size);
    if (!header) {
        throw std::runtime_error("what was received is no frame");
    }
    header_ = *header;
    return header;
}

ByteVector RawConnection::Payload() const
{
    const auto payload = buffer_.Payload(header_);
    return {payload.begin(), payload.end()};
}

bool RawConnection::IsClosed()
{
    ipc::Deadline deadline(kPatience);
    for (;;) {
        const ipc::IoResult result = connection_->Receive(buffer_.Room(), deadline);
        if (result.status != IoStatus::kDone) {
            return result.status == IoStatus::kLost;
        }
    }
}

RawClient::RawClient()
    : RawConnection([] {
          ipc::Deadline deadline(kPatience);
          static const std::atomic<bool> never{false};
          return ipc::Connect(ipc::FindPipePlaces(kPipe), deadline, never).connection;
      }())
{
    if (!IsOpen()) {
        throw std::runtime_error("no service to connect to");
    }
}

bool RawClient::Greet(FrameKind kind, std::uint8_t token, std::uint64_t order)
{
    return Send({.kind = kind, .order = order}, ByteVector(sizeof(ipc::Token), token));
}

RawService::Waiting::iterator RawService::Find(FrameKind kind)
{
    return std::find_if(waiting_.begin(), waiting_.end(),
                        [kind](const auto& one) { return one.first == kind; });
}

void RawService::WaitFor(FrameKind kind)
{
    while (Find(kind) == waiting_.end()) {
        auto connection = std::make_unique<RawConnection>(listener_->Accept());
        if (const auto hello = connection->Receive()) {
            waiting_.emplace_back(hello->kind, std::move(connection));
        }
    }
}

std::unique_ptr<RawConnection> RawService::Accept(FrameKind kind)
{
    WaitFor(kind);
    const auto one = Find(kind);
    auto found = std::move(one->second);
    waiting_.erase(one);
    return found;
}

std::unique_ptr<RawConnection> RawService::AcceptEvents()
{
    auto events = Accept(FrameKind::kHelloEvent);
    events->Send({.kind = FrameKind::kWelcome});
    return events;
}

}  // namespace pelacon::test
