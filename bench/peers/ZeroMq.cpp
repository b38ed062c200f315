// ZeroMQ over a Unix socket: REQ and REP for requests, PUSH and PULL for the rest.
#include <bench/peers/Queues.h>

#include <zmq.h>

#include <stdexcept>

namespace pelacon::bench {

namespace {

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

    void Listen(const std::string& address) const { Checked(zmq_bind(socket_, address.c_str())); }
    void Connect(const std::string& address) const
    {
        Checked(zmq_connect(socket_, address.c_str()));
    }
    void Send(const void* bytes, std::size_t size) const
    {
        Checked(zmq_send(socket_, bytes, size, 0));
    }
    std::size_t Receive(Room& bytes) const
    {
        return static_cast<std::size_t>(Checked(zmq_recv(socket_, bytes.data(), bytes.size(), 0)));
    }

  private:
    void* socket_;
};

struct ClientSockets {
    Context context;
    Socket requests{context, ZMQ_REQ};
    Socket orders{context, ZMQ_PUSH};
    Socket pushes{context, ZMQ_PULL};
};

struct ServerSockets {
    Context context;
    Socket requests{context, ZMQ_REP};
    Socket orders{context, ZMQ_PULL};
    Socket pushes{context, ZMQ_PUSH};
};

}  // namespace

int RunZeroMqRole()
{
    ServeQueues<ServerSockets>();
}

std::unique_ptr<Caller> MakeZeroMqCaller(const std::string& folder)
{
    return std::make_unique<QueueCaller<ClientSockets>>("ZeroMQ, Unix socket", "zeromq", folder);
}

}  // namespace pelacon::bench
