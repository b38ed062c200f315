#include <service/linux/PacketSocket.h>

#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <utility>

namespace pelacon::service::linux_radios {

PacketSocket::PacketSocket(Loop& loop, std::shared_ptr<const FileDescriptor> socket, Got got)
    : loop_(loop), socket_(std::move(socket)), got_(std::move(got))
{
    loop_.Add(*this);
}

PacketSocket::~PacketSocket()
{
    loop_.Remove(*this);
}

Loop::Interest PacketSocket::Wants()
{
    return {socket_->Get(), POLLIN, std::nullopt};
}

/// The sender drops what does not fit in the socket, so what is there is taken out at once.
void PacketSocket::Ready(short events)
{
    const std::weak_ptr<void> alive = alive_;
    for (int i = 0; i < kMostAtOnce && !alive.expired() && ReadOne(events); ++i) {
    }
}

/// False where there is nothing more.
bool PacketSocket::ReadOne(short events)
{
    std::array<std::uint8_t, kMost> packet{};
    const ssize_t size = recv(socket_->Get(), packet.data(), packet.size(), MSG_DONTWAIT);
    if (size < 0 && (errno == EAGAIN || errno == EINTR)) {
        return false;
    }
    const bool isEmptyPacket = size == 0 && (events & POLLHUP) == 0;
    if (size <= 0 && !isEmptyPacket) {
        loop_.Remove(*this);
        return false;
    }
    const Got got = got_;  // it may destroy this
    got(std::vector<std::uint8_t>(packet.begin(), packet.begin() + size));
    return true;
}

}  // namespace pelacon::service::linux_radios
