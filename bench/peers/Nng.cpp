// nng over a Unix socket: req0 and rep0 for requests, push0 and pull0 for the rest.
#include <bench/peers/Queues.h>

#include <nng/nng.h>
#include <nng/protocol/pipeline0/pull.h>
#include <nng/protocol/pipeline0/push.h>
#include <nng/protocol/reqrep0/rep.h>
#include <nng/protocol/reqrep0/req.h>

#include <stdexcept>

namespace pelacon::bench {

namespace {

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
    void Connect(const std::string& address) const
    {
        Check(nng_dial(socket_, address.c_str(), nullptr, 0));
    }
    void Send(const void* bytes, std::size_t size) const
    {
        Check(nng_send(socket_, const_cast<void*>(bytes), size, 0));
    }
    std::size_t Receive(Room& bytes) const
    {
        std::size_t size = bytes.size();
        Check(nng_recv(socket_, bytes.data(), &size, 0));
        return size;
    }

  private:
    nng_socket socket_{};
};

struct ClientSockets {
    Socket requests{&nng_req0_open};
    Socket orders{&nng_push0_open};
    Socket pushes{&nng_pull0_open};
};

struct ServerSockets {
    Socket requests{&nng_rep0_open};
    Socket orders{&nng_pull0_open};
    Socket pushes{&nng_push0_open};
};

}  // namespace

int RunNngRole()
{
    ServeQueues<ServerSockets>();
}

std::unique_ptr<Caller> MakeNngCaller(const std::string& folder)
{
    return std::make_unique<QueueCaller<ClientSockets>>("nng, Unix socket", "nng", folder);
}

}  // namespace pelacon::bench
