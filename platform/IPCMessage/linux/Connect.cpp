#include "SocketConnection.h"
#include "SocketPath.h"
#include "Users.h"

#include <sys/random.h>
#include <sys/time.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>

namespace pelacon::ipc {

namespace {

using namespace std::chrono_literals;

/// A wait for a socket whose backlog is full is made in pieces of this length: the kernel rounds
/// longer time-outs up, and a cancelled wait ends soon.
constexpr auto kBusyPiece = 20ms;

/// Connects the socket, and waits as Connect does while its backlog is full. Sets errno.
ConnectStatus ConnectSocket(int socket, const SocketAddress& address, Deadline& deadline,
                            const std::atomic<bool>& cancelled)
{
    for (;;) {
        const auto piece = std::min<Deadline::Clock::duration>(deadline.Left(), kBusyPiece);
        // A time-out of zero would mean no time-out.
        const timeval patience{
            0, std::max<suseconds_t>(
                   1, std::chrono::duration_cast<std::chrono::microseconds>(piece).count())};
        setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof(patience));
        if (connect(socket, address.Get(), address.length) == 0) {
            return ConnectStatus::kConnected;
        }
        if (errno != EAGAIN && errno != EINTR) {
            return errno == EACCES ? ConnectStatus::kForbidden : ConnectStatus::kNoService;
        }
        if (deadline.Left() == Deadline::Clock::duration::zero() || cancelled) {
            return ConnectStatus::kBusy;
        }
    }
}

}  // namespace

ConnectResult ConnectTo(const std::string& path, Deadline& deadline,
                        const std::atomic<bool>& cancelled)
{
    ConnectResult result{.place = path};
    const auto address = MakeSocketAddress(path);
    if (!address) {
        result.reason = std::make_error_code(std::errc::filename_too_long);
        return result;
    }
    auto connection = std::make_unique<SocketConnection>(OpenSocket);
    result.status = ConnectSocket(connection->Socket(), *address, deadline, cancelled);
    if (result.status != ConnectStatus::kConnected) {
        result.reason = std::error_code(errno, std::generic_category());
        return result;
    }
    connection->IdentifyPeer();
    result.peer = connection->GetPeer();
    if (IsTrusted(connection->PeerUser())) {
        result.connection = std::move(connection);
    } else {
        result.status = ConnectStatus::kUntrusted;
    }
    return result;
}

ConnectResult Connect(const PipePlaces& places, Deadline& deadline,
                      const std::atomic<bool>& cancelled)
{
    ConnectResult worst;
    for (const std::string& place : places) {
        ConnectResult result = ConnectTo(place, deadline, cancelled);
        if (result.status == ConnectStatus::kConnected) {
            return result;
        }
        if (result.status != ConnectStatus::kNoService) {
            worst = std::move(result);
        }
    }
    return worst;
}

Token DrawToken()
{
    Token token{};
    // A read as short as this is never partial, and fails only while the system starts.
    static_assert(sizeof(token) <= 256);
    if (getrandom(token.data(), token.size(), 0) != static_cast<ssize_t>(token.size())) {
        throw std::system_error(errno, std::generic_category(), "getrandom");
    }
    return token;
}

}  // namespace pelacon::ipc
