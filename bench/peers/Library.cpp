// The library, and the bare sockets that everything is compared with.
#include <IPCMessage/IPCMessageClient.h>
#include <bench/Awaited.h>
#include <bench/Bare.h>
#include <bench/Callers.h>
#include <bench/Peer.h>
#include <bench/peers/Caller.h>
#include <protocol/BleManager.h>
#include <protocol/Operation.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace pelacon::bench {

namespace {

class Bare : public Caller {
  public:
    explicit Bare(const std::string& folder)
        : path_(folder + "/bare.sock"), peer_(Peer::InRole("bare", folder))
    {
        peer_.Hear();
    }

    std::string Name() const override { return "bare stream socket"; }

    void Call(std::vector<std::uint8_t>& message) override
    {
        if (!socket_ || size_ != message.size()) {
            size_ = message.size();
            socket_ = std::make_unique<BareSocket>(BareSocket::Connect(
                path_, {BareJob::Kind::kPingPong, static_cast<std::uint32_t>(size_)}));
        }
        if (!socket_->Write(message) || !socket_->Read(message)) {
            throw std::runtime_error("The bare socket was closed.");
        }
    }

    void Receive(std::uint32_t size, std::uint32_t count, Arrivals& arrivals) override
    {
        const BareSocket socket = BareSocket::Connect(path_, {BareJob::Kind::kStream, size, count});
        std::vector<std::uint8_t> message(size);
        socket.Write(std::array<std::uint8_t, 1>{});
        while (!arrivals.AreAllThere() && socket.Read(message)) {
            arrivals.Take(NumberOf(message.data()));
        }
    }

  private:
    std::string path_;
    Peer peer_;
    std::unique_ptr<BareSocket> socket_;
    std::size_t size_ = 0;
};

class Library : public Caller {
  public:
    explicit Library(const std::string& folder) : echo_(Peer::InRole("echo", folder))
    {
        echo_.Hear();
        client_ = MakeEchoClient(folder);
        client_->RegisterMessageCallback(protocol::kBtStateChanged.id, [this](auto& item) {
            const std::uint32_t number = NumberOf(item.message);
            arrivals_->Take(number);
            if (number + 1 == end_) {
                burst_.Set(number);
            }
        });
        id_ = ClientId(*client_);
    }

    std::string Name() const override { return "PelaconSDK"; }

    void Call(std::vector<std::uint8_t>& message) override
    {
        TagIPCMessageItem request;
        request.targetModuleId = protocol::kServiceModule;
        request.sourceModuleId = protocol::kSdkModule;
        request.msgId = protocol::kServiceModule + 1;
        request.length = static_cast<std::uint32_t>(message.size());
        request.message = message.data();
        TagIPCMessageItem reply;
        const bool isAnswered =
            client_->SendIPCMessage(request, reply, 10'000) && reply.length == message.size();
        if (isAnswered) {
            std::memcpy(message.data(), reply.message, message.size());
        }
        std::free(reply.message);
        if (!isAnswered) {
            throw std::runtime_error("A request was not answered.");
        }
    }

    void Receive(std::uint32_t size, std::uint32_t count, Arrivals& arrivals) override
    {
        arrivals_ = &arrivals;
        for (std::uint32_t sent = 0; sent < count; sent = end_) {
            end_ = std::min(count, sent + kAtOnce);
            echo_.Order("send " + std::to_string(sent) + ' ' + std::to_string(end_) + ' ' +
                        std::to_string(size) + ' ' + id_);
            burst_.Take();
        }
    }

  private:
    static constexpr std::uint32_t kAtOnce = 512;  // fewer than a service queues for a client

    Peer echo_;
    std::unique_ptr<IPCMessageClient> client_;
    std::string id_;
    Arrivals* arrivals_ = nullptr;       // of the run that is under way
    std::atomic<std::uint32_t> end_{0};  // of the burst
    Awaited<std::uint32_t> burst_;
};

}  // namespace

std::unique_ptr<Caller> MakeBareCaller(const std::string& folder)
{
    return std::make_unique<Bare>(folder);
}

std::unique_ptr<Caller> MakeLibraryCaller(const std::string& folder)
{
    return std::make_unique<Library>(folder);
}

}  // namespace pelacon::bench
