// What ZeroMQ and nng have in common: a socket for requests, one for orders and one for pushes.
#pragma once

#include <bench/Peer.h>
#include <bench/peers/Caller.h>
#include <bench/roles/Roles.h>

#include <array>
#include <cstring>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace pelacon::bench {

using Room = std::array<std::uint8_t, 4096>;

inline std::string QueueAddress(const std::string& folder, const std::string& what)
{
    return "ipc://" + folder + "/" + what + ".sock";
}

/// `Sockets` has the members requests, orders and pushes, each with Connect, Send and Receive.
template <typename Sockets>
class QueueCaller : public Caller {
  public:
    QueueCaller(std::string name, const std::string& role, const std::string& folder)
        : name_(std::move(name)), peer_(Peer::InRole(role, folder))
    {
        peer_.Hear();
        sockets_.requests.Connect(QueueAddress(folder, "requests"));
        sockets_.orders.Connect(QueueAddress(folder, "orders"));
        sockets_.pushes.Connect(QueueAddress(folder, "pushes"));
    }

    std::string Name() const override { return name_; }

    void Call(std::vector<std::uint8_t>& message) override
    {
        sockets_.requests.Send(message.data(), message.size());
        Room answer{};
        const std::size_t size = sockets_.requests.Receive(answer);
        message.assign(answer.begin(), answer.begin() + static_cast<std::ptrdiff_t>(size));
    }

    void Receive(std::uint32_t size, std::uint32_t count, Arrivals& arrivals) override
    {
        const std::array<std::uint32_t, 2> order{size, count};
        sockets_.orders.Send(order.data(), sizeof order);
        Room message{};
        while (!arrivals.AreAllThere()) {
            sockets_.pushes.Receive(message);
            arrivals.Take(NumberOf(message.data()));
        }
    }

  private:
    std::string name_;
    Peer peer_;
    Sockets sockets_;
};

/// The other process, until it is killed. `Sockets` as above, with Listen in place of Connect.
template <typename Sockets>
[[noreturn]] void ServeQueues()
{
    Sockets sockets;
    sockets.requests.Listen(QueueAddress(RoleFolder(), "requests"));
    sockets.orders.Listen(QueueAddress(RoleFolder(), "orders"));
    sockets.pushes.Listen(QueueAddress(RoleFolder(), "pushes"));
    Answer("ready");
    std::thread pushing([&] {
        for (Room order{};;) {
            sockets.orders.Receive(order);
            std::array<std::uint32_t, 2> sizeAndCount{};
            std::memcpy(sizeAndCount.data(), order.data(), sizeof sizeAndCount);
            std::vector<std::uint8_t> message(sizeAndCount[0]);
            for (std::uint32_t number = 0; number < sizeAndCount[1]; ++number) {
                std::memcpy(message.data(), &number, sizeof number);
                sockets.pushes.Send(message.data(), message.size());
            }
        }
    });
    for (Room message{};;) {
        const std::size_t size = sockets.requests.Receive(message);
        sockets.requests.Send(message.data(), size);
    }
}

}  // namespace pelacon::bench
