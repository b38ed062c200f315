#include "SocketConnection.h"

#include "Users.h"

#include <poll.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <climits>
#include <new>

namespace pelacon::ipc {

namespace {

using namespace std::chrono_literals;

/// How long a timed receive blocks in recv itself. Nearly all replies arrive within this time and
/// cost one system call. The kernel rounds such time-outs up by as much as an eighth, so poll,
/// which is exact, does the rest of a longer wait. Set once per socket.
constexpr auto kPatience = 50ms;

constexpr bool WouldBlock(int error) noexcept
{
    return error == EAGAIN || error == EWOULDBLOCK;
}

// The C library's send and recv are cancellation points, which costs a measurable part of a round
// trip and serves no purpose here: a request ends by its time-out. So the kernel is called
// directly, except under ThreadSanitizer, which derives from those two functions that a send
// happens before the receive of what was sent.
#ifdef __SANITIZE_THREAD__
constexpr bool kCallDirectly = false;
#else
constexpr bool kCallDirectly = true;
#endif

ssize_t SendTo(int socket, std::span<const std::uint8_t> frame, int flags) noexcept
{
    return kCallDirectly
               ? syscall(SYS_sendto, socket, frame.data(), frame.size(), flags, nullptr, 0)
               : send(socket, frame.data(), frame.size(), flags);
}

ssize_t ReceiveFrom(int socket, std::span<std::uint8_t> room, int flags) noexcept
{
    return kCallDirectly
               ? syscall(SYS_recvfrom, socket, room.data(), room.size(), flags, nullptr, nullptr)
               : recv(socket, room.data(), room.size(), flags);
}

/// Whether a receive that failed may succeed when it is repeated. ECONNRESET is reported once,
/// before the remaining frames, if the peer closed its end without reading everything.
constexpr bool MayTryAgain(int error) noexcept
{
    return error == EINTR || error == ECONNRESET || WouldBlock(error);
}

}  // namespace

int OpenSocket() noexcept
{
    return socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
}

void SocketConnection::IdentifyPeer()
{
    ucred credentials{};
    socklen_t length = sizeof(credentials);
    if (getsockopt(socket_.Get(), SOL_SOCKET, SO_PEERCRED, &credentials, &length) != 0) {
        return;
    }
    user_ = credentials.uid;
    peer_.processId = static_cast<std::uint32_t>(credentials.pid);
    peer_.user = std::to_string(credentials.uid);
    peer_.isOperator =
        IsOneUser(credentials.uid) && (credentials.uid == 0 || credentials.uid == geteuid());
}

IoStatus SocketConnection::Send(std::span<const std::uint8_t> frame)
{
    while (SendTo(socket_.Get(), frame, MSG_NOSIGNAL) < 0) {
        if (errno != EINTR && !WouldBlock(errno)) {
            return IoStatus::kLost;
        }
    }
    return IoStatus::kDone;
}

IoStatus SocketConnection::TrySend(std::span<const std::uint8_t> frame)
{
    while (SendTo(socket_.Get(), frame, MSG_NOSIGNAL | MSG_DONTWAIT) < 0) {
        if (WouldBlock(errno)) {
            return IoStatus::kWouldBlock;
        }
        if (errno != EINTR) {
            return IoStatus::kLost;
        }
    }
    return IoStatus::kDone;
}

IoStatus SocketConnection::Send(std::span<const std::uint8_t> frame, Deadline& deadline)
{
    for (;;) {
        IoStatus status = TrySend(frame);
        if (status != IoStatus::kWouldBlock) {
            return status;
        }
        status = Await(POLLOUT, deadline);
        if (status != IoStatus::kDone) {
            return status;
        }
    }
}

IoResult SocketConnection::Receive(std::span<std::uint8_t> room)
{
    UnboundReceives();
    IoResult result;
    do {
        result = ReceiveOnce(room, 0);
    } while (result.status == IoStatus::kWouldBlock);
    return result;
}

IoResult SocketConnection::Receive(std::span<std::uint8_t> room, Deadline& deadline)
{
    if (deadline.LeftAtRefresh() >= 2 * kPatience && BoundReceives()) {
        const IoResult result = ReceiveBounded(room);
        if (result.status != IoStatus::kWouldBlock) {
            return result;
        }
    }
    for (;;) {
        const IoStatus status = Await(POLLIN, deadline);
        if (status != IoStatus::kDone) {
            return {status, 0};
        }
        const IoResult result = ReceiveOnce(room, MSG_DONTWAIT);
        if (result.status != IoStatus::kWouldBlock) {
            return result;
        }
    }
}

/// The arguments of recvmmsg, which are the same each time.
struct SocketConnection::BatchHeaders {
    explicit BatchHeaders(const FrameBatch& batch)
    {
        for (std::size_t index = 0; index < FrameBatch::kFrames; ++index) {
            const std::span<std::uint8_t> room = batch.Room(index);
            rooms[index] = {room.data(), room.size()};
            messages[index].msg_hdr.msg_iov = &rooms[index];
            messages[index].msg_hdr.msg_iovlen = 1;
        }
    }

    std::array<iovec, FrameBatch::kFrames> rooms{};
    std::array<mmsghdr, FrameBatch::kFrames> messages{};
};

SocketConnection::SocketConnection() = default;
SocketConnection::~SocketConnection() = default;

IoStatus SocketConnection::ReceiveSome(FrameBatch& batch)
{
    if (!batchHeaders_ || batchHeaders_->rooms[0].iov_base != batch.Room(0).data()) {
        batchHeaders_.reset(new (std::nothrow) BatchHeaders(batch));
        if (!batchHeaders_) {  // treated as lost: no caller of the receive thread catches
            batch.count = 0;
            return IoStatus::kLost;
        }
    }
    auto& messages = batchHeaders_->messages;
    int count = 0;
    do {
        count =
            recvmmsg(socket_.Get(), messages.data(), FrameBatch::kFrames, MSG_WAITFORONE, nullptr);
    } while (count < 0 && MayTryAgain(errno));
    batch.count = 0;
    for (int index = 0; index < count; ++index) {
        const mmsghdr& message = messages[static_cast<std::size_t>(index)];
        const bool cut = (message.msg_hdr.msg_flags & MSG_TRUNC) != 0;
        batch.sizes[batch.count++] = cut ? kMaxFrame + 1 : message.msg_len;
        if (message.msg_len == 0) {
            break;  // the end of the connection, or an empty packet, which is not a frame
        }
    }
    return count > 0 && batch.sizes[0] != 0 ? IoStatus::kDone : IoStatus::kLost;
}

bool SocketConnection::IsConnected() noexcept
{
    pollfd one{socket_.Get(), POLLRDHUP, 0};
    return socket_ && poll(&one, 1, 0) <= 0;
}

void SocketConnection::StopReceiving() noexcept
{
    shutdown(socket_.Get(), SHUT_RD);
}

void SocketConnection::Shutdown() noexcept
{
    shutdown(socket_.Get(), SHUT_RDWR);
}

/// Returns kWouldBlock for everything after which the call may be repeated.
IoResult SocketConnection::ReceiveOnce(std::span<std::uint8_t> room, int flags) noexcept
{
    // MSG_TRUNC: the result is the frame's real length, so that one too large is seen.
    const ssize_t size = ReceiveFrom(socket_.Get(), room, flags | MSG_TRUNC);
    if (size > 0) {
        return {IoStatus::kDone, static_cast<std::size_t>(size)};
    }
    if (size < 0 && MayTryAgain(errno)) {
        return {IoStatus::kWouldBlock, 0};
    }
    return {IoStatus::kLost, 0};
}

/// Receives within the socket's own time-out.
IoResult SocketConnection::ReceiveBounded(std::span<std::uint8_t> room) noexcept
{
    const BriefWait::Turn turn;
    const IoResult result = ReceiveBriefly(room, turn);
    return result.status == IoStatus::kWouldBlock ? ReceiveOnce(room, 0) : result;
}

/// Receives without sleeping; kWouldBlock if nothing came, or the time is better slept.
IoResult SocketConnection::ReceiveBriefly(std::span<std::uint8_t> room,
                                          const BriefWait::Turn& turn) noexcept
{
    IoResult result{IoStatus::kWouldBlock, 0};
    if (briefWait_.IsDue(turn)) {
        const auto start = BriefWait::Clock::now();
        const auto elapsed = [start] { return BriefWait::Clock::now() - start; };
        do {
            briefWait_.Yield();
            result = ReceiveOnce(room, MSG_DONTWAIT);
        } while (result.status == IoStatus::kWouldBlock && briefWait_.GoesOn(turn, elapsed()));
        briefWait_.End(turn, result.status != IoStatus::kWouldBlock, elapsed());
    }
    return result;
}

IoStatus SocketConnection::Await(short events, Deadline& deadline) noexcept
{
    while (socket_) {  // poll would ignore a missing one and wait
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline.Left());
        pollfd one{socket_.Get(), events, 0};
        const int ready =
            poll(&one, 1, static_cast<int>(std::min<std::int64_t>(left.count(), INT_MAX)));
        if (ready > 0) {
            deadline.Refresh();
            return IoStatus::kDone;
        }
        if (ready == 0 && deadline.Left() == Deadline::Clock::duration::zero()) {
            return IoStatus::kTimeout;
        }
        if (ready < 0 && errno != EINTR) {
            return IoStatus::kLost;
        }
    }
    return IoStatus::kLost;
}

bool SocketConnection::BoundReceives() noexcept
{
    if (!receivesBounded_) {
        const timeval bound{0, std::chrono::microseconds(kPatience).count()};
        receivesBounded_ =
            setsockopt(socket_.Get(), SOL_SOCKET, SO_RCVTIMEO, &bound, sizeof(bound)) == 0;
    }
    return receivesBounded_;
}

void SocketConnection::UnboundReceives() noexcept
{
    if (receivesBounded_) {
        const timeval forever{};
        setsockopt(socket_.Get(), SOL_SOCKET, SO_RCVTIMEO, &forever, sizeof(forever));
        receivesBounded_ = false;
    }
}

}  // namespace pelacon::ipc
