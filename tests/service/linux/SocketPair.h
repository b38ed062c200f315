// A socket as the kernel gives it, and the kernel's end of it.
#pragma once

#include <service/linux/FileDescriptor.h>
#include <tests/service/linux/OnLoop.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>

namespace pelacon::service::linux_radios::tests {

class SocketPair {
  public:
    SocketPair()
    {
        std::array<int, 2> ends{};
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()), 0);
        EXPECT_EQ(fcntl(ends[0], F_SETFL, O_NONBLOCK), 0);
        service = FileDescriptor(ends[0]);
        kernel = FileDescriptor(ends[1]);
    }

    void Send(const std::vector<std::uint8_t>& packet) const
    {
        EXPECT_EQ(send(kernel.Get(), packet.data(), packet.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(packet.size()));
    }

    /// Waits for a packet, with a bound; empty where none comes.
    std::vector<std::uint8_t> Receive() const
    {
        pollfd ready{kernel.Get(), POLLIN, 0};
        const auto limit = std::chrono::milliseconds(kPatience).count();
        EXPECT_EQ(poll(&ready, 1, static_cast<int>(limit)), 1);
        std::vector<std::uint8_t> packet(4096);
        const ssize_t size = recv(kernel.Get(), packet.data(), packet.size(), MSG_DONTWAIT);
        packet.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
        return packet;
    }

    FileDescriptor service;
    FileDescriptor kernel;
};

}  // namespace pelacon::service::linux_radios::tests
