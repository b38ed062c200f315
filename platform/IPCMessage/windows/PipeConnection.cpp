#include "PipeConnection.h"

#include "PipeSecurity.h"

#include <os/windows/Wide.h>

#include <algorithm>
#include <chrono>

namespace pelacon::ipc {

namespace {

DWORD MillisecondsOf(Deadline* deadline)
{
    if (deadline == nullptr) {
        return INFINITE;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline->Left()).count();
    return static_cast<DWORD>(std::clamp<long long>(left, 0, INFINITE - 1));
}

Peer PeerOf(HANDLE pipe, PipeEnd end)
{
    ULONG processId = 0;
    const BOOL known = end == PipeEnd::kServer ? GetNamedPipeClientProcessId(pipe, &processId)
                                               : GetNamedPipeServerProcessId(pipe, &processId);
    Peer peer;
    if (known == FALSE) {
        return peer;
    }
    peer.processId = processId;
    if (end == PipeEnd::kClient) {
        peer.user = OwnerOfPipe(pipe);
    }
    if (peer.user.empty()) {
        peer.user = UserOfProcess(processId);  // less certain: ids of ended processes are reused
    }
    peer.isOperator = !peer.user.empty() && (peer.user == OwnUser() || IsSystem(peer.user));
    return peer;
}

}  // namespace

/// Keeps the pipe open during one transfer. Shutdown closes the pipe or, while transfers use it,
/// the last of them does. Closing ends the connection for the other end, which still receives what
/// was sent before.
class PipeConnection::Use {
  public:
    Use(PipeConnection& connection, const Direction& direction) : connection_(connection)
    {
        const std::lock_guard lock(connection_.mutex_);
        if (!direction.ended) {
            ++connection_.uses_;
            pipe_ = connection_.pipe_.get();
        }
    }

    ~Use()
    {
        const std::lock_guard lock(connection_.mutex_);
        if (pipe_ != nullptr && --connection_.uses_ == 0 && connection_.sending_.ended) {
            connection_.pipe_.reset();
        }
    }

    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;

    /// Null once the direction has ended.
    HANDLE Pipe() const { return pipe_; }

  private:
    PipeConnection& connection_;
    HANDLE pipe_ = nullptr;
};

PipeConnection::PipeConnection(os::OwnedHandle pipe, PipeEnd end)
    : pipe_(std::move(pipe)), peer_(PeerOf(pipe_.get(), end))
{}

IoStatus PipeConnection::Send(std::span<const std::uint8_t> frame)
{
    return SendFor(frame, nullptr);
}

IoStatus PipeConnection::Send(std::span<const std::uint8_t> frame, Deadline& deadline)
{
    return SendFor(frame, &deadline);
}

// Windows cannot say beforehand whether a pipe has room: the write is started, and cancelled if it
// does not complete at once.
IoStatus PipeConnection::TrySend(std::span<const std::uint8_t> frame)
{
    Deadline now(std::chrono::milliseconds(0));
    const IoStatus status = SendFor(frame, &now);
    return status == IoStatus::kTimeout ? IoStatus::kWouldBlock : status;
}

IoResult PipeConnection::Receive(std::span<std::uint8_t> room)
{
    return ReceiveFor(room, nullptr);
}

IoResult PipeConnection::Receive(std::span<std::uint8_t> room, Deadline& deadline)
{
    return ReceiveFor(room, &deadline);
}

IoStatus PipeConnection::ReceiveSome(FrameBatch& batch)
{
    const IoResult received = ReceiveFor(batch.Room(0), nullptr);
    batch.sizes[0] = received.size;
    batch.count = received.status == IoStatus::kDone ? 1 : 0;
    return received.status;
}

bool PipeConnection::IsConnected() noexcept
{
    const std::lock_guard lock(mutex_);
    return !receiving_.ended && pipe_ != nullptr &&
           PeekNamedPipe(pipe_.get(), nullptr, 0, nullptr, nullptr, nullptr) != FALSE;
}

void PipeConnection::StopReceiving() noexcept
{
    const std::lock_guard lock(mutex_);
    receiving_.End();
}

void PipeConnection::Shutdown() noexcept
{
    const std::lock_guard lock(mutex_);
    receiving_.End();
    sending_.End();
    if (uses_ == 0) {
        pipe_.reset();
    }
}

IoStatus PipeConnection::SendFor(std::span<const std::uint8_t> frame, Deadline* deadline)
{
    const Use use(*this, sending_);
    if (use.Pipe() == nullptr) {
        return IoStatus::kLost;
    }
    sending_.overlapped = {};
    sending_.overlapped.hEvent = sending_.done.get();
    const BOOL begun = WriteFile(use.Pipe(), frame.data(), static_cast<DWORD>(frame.size()),
                                 nullptr, &sending_.overlapped);
    return Finish(sending_, begun, deadline).status;
}

IoResult PipeConnection::ReceiveFor(std::span<std::uint8_t> room, Deadline* deadline)
{
    const Use use(*this, receiving_);
    if (use.Pipe() == nullptr) {
        return {};
    }
    receiving_.overlapped = {};
    receiving_.overlapped.hEvent = receiving_.done.get();
    const BOOL begun = ReadFile(use.Pipe(), room.data(), static_cast<DWORD>(room.size()), nullptr,
                                &receiving_.overlapped);
    IoResult result = Finish(receiving_, begun, deadline);
    if (result.status == IoStatus::kDone && result.size > room.size()) {
        result.size = room.size() + 1;
    }
    return result;
}

IoResult PipeConnection::Finish(Direction& direction, BOOL begun, Deadline* deadline)
{
    if (begun == FALSE && GetLastError() != ERROR_IO_PENDING && GetLastError() != ERROR_MORE_DATA) {
        return {};
    }
    const HANDLE events[] = {direction.done.get(), direction.end.get()};
    const DWORD woken = WaitForMultipleObjects(2, events, FALSE, MillisecondsOf(deadline));
    if (woken == WAIT_OBJECT_0) {
        return Outcome(direction);
    }
    // The transfer may complete before it is cancelled. Outcome waits until the kernel no longer
    // uses the buffer.
    CancelIoEx(pipe_.get(), &direction.overlapped);
    const IoResult result = Outcome(direction);
    if (result.status == IoStatus::kDone || woken != WAIT_TIMEOUT) {
        return result;
    }
    return {IoStatus::kTimeout, 0};
}

/// Waits for the transfer to end. A message that is larger than its room counts as done, with a
/// size larger than any room.
IoResult PipeConnection::Outcome(Direction& direction) noexcept
{
    DWORD size = 0;
    if (GetOverlappedResult(pipe_.get(), &direction.overlapped, &size, TRUE) != FALSE) {
        return {IoStatus::kDone, size};
    }
    if (GetLastError() == ERROR_MORE_DATA) {
        return {IoStatus::kDone, static_cast<std::size_t>(-1)};
    }
    return {};
}

ConnectResult ConnectTo(const std::string& place, Deadline& deadline,
                        const std::atomic<bool>& cancelled)
{
    constexpr DWORD kSlice = 50;  // ms; a wait for a busy pipe that is cancelled ends after it
    const std::wstring name = os::Wide(place);
    ConnectResult result{.place = place};
    const auto refused = [&](ConnectStatus status) {
        result.status = status;
        result.reason = std::error_code(static_cast<int>(GetLastError()), std::system_category());
        return std::move(result);
    };
    for (;;) {
        os::OwnedHandle pipe = os::MakeHandle(CreateFileW(
            name.c_str(), kClientAccess, 0, nullptr, OPEN_EXISTING,
            FILE_FLAG_OVERLAPPED | SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION, nullptr));
        if (pipe) {
            DWORD mode = PIPE_READMODE_MESSAGE;
            if (SetNamedPipeHandleState(pipe.get(), &mode, nullptr, nullptr) == FALSE) {
                // The service closed the pipe, or does not send messages.
                return refused(ConnectStatus::kNoService);
            }
            auto connection = std::make_unique<PipeConnection>(std::move(pipe), PipeEnd::kClient);
            result.peer = connection->GetPeer();
            if (IsTrustedServer(result.peer.user)) {
                result.status = ConnectStatus::kConnected;
                result.connection = std::move(connection);
            } else {
                result.status = ConnectStatus::kUntrusted;
            }
            return result;
        }
        if (GetLastError() == ERROR_ACCESS_DENIED) {
            return refused(ConnectStatus::kForbidden);
        }
        if (GetLastError() != ERROR_PIPE_BUSY) {
            return refused(ConnectStatus::kNoService);
        }
        const DWORD left = MillisecondsOf(&deadline);
        if (left == 0 || cancelled) {
            return refused(ConnectStatus::kBusy);
        }
        WaitNamedPipeW(name.c_str(), std::min(left, kSlice));
    }
}

ConnectResult Connect(const PipePlaces& places, Deadline& deadline,
                      const std::atomic<bool>& cancelled)
{
    for (const std::string& place : places) {
        ConnectResult result = ConnectTo(place, deadline, cancelled);
        if (result.status != ConnectStatus::kNoService) {
            return result;
        }
    }
    return {};
}

}  // namespace pelacon::ipc
