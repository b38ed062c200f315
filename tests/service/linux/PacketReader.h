// The end of a socket that a stand-in of the kernel has.
#pragma once

#include <service/linux/FileDescriptor.h>
#include <service/linux/Loop.h>

#include <poll.h>
#include <sys/socket.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace pelacon::service::linux_radios::tests {

/// Reads packets from a socket, in the loop's thread. `closed` is called when the other end is
/// closed.
class PacketReader : private Loop::Source {
  public:
    using Bytes = std::vector<std::uint8_t>;

    PacketReader(
        Loop& loop, const FileDescriptor& socket, std::function<void(const Bytes&)> received,
        std::function<void()> closed = [] {})
        : loop_(loop), socket_(socket), received_(std::move(received)), closed_(std::move(closed))
    {
        loop_.Add(*this);
    }
    ~PacketReader() override { loop_.Remove(*this); }

  private:
    Loop::Interest Wants() override { return {isOpen_ ? socket_.Get() : -1, POLLIN, std::nullopt}; }
    void Ready(short /*events*/) override
    {
        Bytes packet(512);
        const ssize_t size = recv(socket_.Get(), packet.data(), packet.size(), MSG_DONTWAIT);
        isOpen_ = size > 0;
        if (isOpen_) {
            packet.resize(static_cast<std::size_t>(size));
            received_(packet);
        } else {
            closed_();
        }
    }

    Loop& loop_;
    const FileDescriptor& socket_;
    std::function<void(const Bytes&)> received_;
    std::function<void()> closed_;
    bool isOpen_ = true;
};

}  // namespace pelacon::service::linux_radios::tests
