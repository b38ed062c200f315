// ZeroMQ over a Unix socket: REQ and REP for requests, PUSH and PULL for the rest.
#include <bench/Peer.h>
#include <bench/peers/Caller.h>
#include <bench/roles/Roles.h>

#include <zmq.h>

#include <array>
#include <cstring>
#include <stdexcept>
#include <thread>

namespace pelacon::bench {

namespace {

constexpr std::size_t kLargest = 4096;

int Checked(int result)
{
    if (result < 0) {
        throw std::runtime_error(std::string("ZeroMQ: ") + zmq_strerror(zmq_errno()));
    }
    return result;
}

class Context {
  public:
    Context() : context_(zmq_ctx_new()) {}
    ~Context() { zmq_ctx_term(context_); }
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;
    void* Get() const { return context_; }

  private:
    void* context_;
};

class Socket {
  public:
    Socket(const Context& context, int type) : socket_(zmq_socket(context.Get(), type)) {}
    ~Socket()
    {
        const int none = 0;
        zmq_setsockopt(socket_, ZMQ_LINGER, &none, sizeof none);
        zmq_close(socket_);
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    void Bind(const std::string& address) const { Checked(zmq_bind(socket_, address.c_str())); }
    void Connect(const std::string& address) const
    {
        Checked(zmq_connect(socket_, address.c_str()));
    }
    void Send(const void* bytes, std::size_t size) const
    {
        Checked(zmq_send(socket_, bytes, size, 0));
    }
    std::size_t Receive(std::array<std::uint8_t, kLargest>& bytes) const
    {
        return static_cast<std::size_t>(Checked(zmq_recv(socket_, bytes.data(), bytes.size(), 0)));
    }

  private:
    void* socket_;
};

std::string AddressOf(const std::string& folder, const std::string& what)
{
    return "ipc://" + folder + "/zeromq-" + what + ".sock";
}

class ZeroMq : public Caller {
  public:
    explicit ZeroMq(const std::string& folder) : peer_(Peer::InRole("zeromq", folder))
    {
        peer_.Hear();
        requests_.Connect(AddressOf(folder, "requests"));
        orders_.Connect(AddressOf(folder, "orders"));
        pushes_.Connect(AddressOf(folder, "pushes"));
    }

    std::string Name() const override { return "ZeroMQ, Unix socket"; }

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
    Context context_;
    Socket requests_{context_, ZMQ_REQ};
    Socket orders_{context_, ZMQ_PUSH};
    Socket pushes_{context_, ZMQ_PULL};
};

}  // namespace

int RunZeroMqRole()
{
    const Context context;
    const Socket requests(context, ZMQ_REP);
    const Socket orders(context, ZMQ_PULL);
    const Socket pushes(context, ZMQ_PUSH);
    requests.Bind(AddressOf(RoleFolder(), "requests"));
    orders.Bind(AddressOf(RoleFolder(), "orders"));
    pushes.Bind(AddressOf(RoleFolder(), "pushes"));
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
        requests.Send(message.data(), requests.Receive(message));
    }
}

std::unique_ptr<Caller> MakeZeroMqCaller(const std::string& folder)
{
    return std::make_unique<ZeroMq>(folder);
}

}  // namespace pelacon::bench
