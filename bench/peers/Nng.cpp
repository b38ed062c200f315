// nng over a Unix socket: req0 and rep0 for requests, push0 and pull0 for the rest.
#include <bench/Peer.h>
#include <bench/peers/Caller.h>
#include <bench/roles/Roles.h>

#include <nng/nng.h>
#include <nng/protocol/pipeline0/pull.h>
#include <nng/protocol/pipeline0/push.h>
#include <nng/protocol/reqrep0/rep.h>
#include <nng/protocol/reqrep0/req.h>

#include <array>
#include <cstring>
#include <stdexcept>
#include <thread>

namespace pelacon::bench {

namespace {

constexpr std::size_t kLargest = 4096;

void Check(int result)
{
    if (result != 0) {
        throw std::runtime_error(std::string("nng: ") + nng_strerror(result));
    }
}

class Socket {
  public:
    explicit Socket(int (*open)(nng_socket*)) { Check(open(&socket_)); }
    ~Socket() { nng_close(socket_); }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    void Listen(const std::string& address) const
    {
        Check(nng_listen(socket_, address.c_str(), nullptr, 0));
    }
    void Dial(const std::string& address) const
    {
        Check(nng_dial(socket_, address.c_str(), nullptr, 0));
    }
    void Send(const void* bytes, std::size_t size) const
    {
        Check(nng_send(socket_, const_cast<void*>(bytes), size, 0));
    }
    std::size_t Receive(std::array<std::uint8_t, kLargest>& bytes) const
    {
        std::size_t size = bytes.size();
        Check(nng_recv(socket_, bytes.data(), &size, 0));
        return size;
    }

  private:
    nng_socket socket_{};
};

std::string AddressOf(const std::string& folder, const std::string& what)
{
    return "ipc://" + folder + "/nng-" + what + ".sock";
}

class Nng : public Caller {
  public:
    explicit Nng(const std::string& folder) : peer_(Peer::InRole("nng", folder))
    {
        peer_.Hear();
        requests_.Dial(AddressOf(folder, "requests"));
        orders_.Dial(AddressOf(folder, "orders"));
        pushes_.Dial(AddressOf(folder, "pushes"));
    }

    std::string Name() const override { return "nng, Unix socket"; }

    void Call(std::vector<std::uint8_t>& message) override
    {
        requests_.Send(message.data(), message.size());
        std::array<std::uint8_t, kLargest> answer{};
        const std::size_t size = requests_.Receive(answer);
        message.assign(answer.begin(), answer.begin() + static_cast<std::ptrdiff_t>(size));
    }

    void Receive(std::uint32_t size, std::uint32_t count, Arrivals& arrivals) override
    {
        const std::array<std::uint32_t, 2> order{size, count};
        orders_.Send(order.data(), sizeof order);
        std::array<std::uint8_t, kLargest> message{};
        while (!arrivals.AreAllThere()) {
            pushes_.Receive(message);
            arrivals.Take(NumberOf(message.data()));
        }
    }

  private:
    Peer peer_;
    Socket requests_{&nng_req0_open};
    Socket orders_{&nng_push0_open};
    Socket pushes_{&nng_pull0_open};
};

}  // namespace

int RunNngRole()
{
    const Socket requests(&nng_rep0_open);
    const Socket orders(&nng_pull0_open);
    const Socket pushes(&nng_push0_open);
    requests.Listen(AddressOf(RoleFolder(), "requests"));
    orders.Listen(AddressOf(RoleFolder(), "orders"));
    pushes.Listen(AddressOf(RoleFolder(), "pushes"));
    Answer("ready");
    std::thread pushing([&] {
        for (std::array<std::uint8_t, kLargest> order{};;) {
            orders.Receive(order);
            std::array<std::uint32_t, 2> sizeAndCount{};
            std::memcpy(sizeAndCount.data(), order.data(), sizeof sizeAndCount);
            std::vector<std::uint8_t> message(sizeAndCount[0]);
            for (std::uint32_t number = 0; number < sizeAndCount[1]; ++number) {
                std::memcpy(message.data(), &number, sizeof number);
                pushes.Send(message.data(), message.size());
            }
        }
    });
    for (std::array<std::uint8_t, kLargest> message{};;) {
        const std::size_t size = requests.Receive(message);
        requests.Send(message.data(), size);
    }
}

std::unique_ptr<Caller> MakeNngCaller(const std::string& folder)
{
    return std::make_unique<Nng>(folder);
}

}  // namespace pelacon::bench
