// The library, and the bare sockets that everything is compared with.
#include <IPCMessage/IPCMessageClient.h>
#include <bench/Bare.h>
#include <bench/Peer.h>
#include <bench/Scenarios.h>
#include <bench/peers/Caller.h>
#include <protocol/BleManager.h>
#include <protocol/Operation.h>

#include <array>
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
    explicit Library(const std::string& folder)
        : echo_(Peer::InRole("echo", folder + "/echo")),
          flood_(Peer::InRole("flood", folder + "/flood"))
    {
        echo_.Hear();
        flood_.Hear();
        UseRuntimeFolder(folder + "/echo");
        requests_ =
            std::make_unique<IPCMessageClient>(protocol::kSdkModule, false, false, kEchoPipe);
        // A request, so that the client connects while the variable names the folder.
        std::vector<std::uint8_t> first(1);
        Call(first);
        UseRuntimeFolder(folder + "/flood");
        pushes_ = std::make_unique<IPCMessageClient>(protocol::kSdkModule, false, false,
                                                     protocol::kServicePipe);
        pushes_->RegisterMessageCallback(protocol::kBtStateChanged.id, [this](auto& item) {
            arrivals_->Take(NumberOf(item.message));
        });
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
            requests_->SendIPCMessage(request, reply, 10'000) && reply.length == message.size();
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
        flood_.Order(std::to_string(size) + " " + std::to_string(count));
    }

  private:
    Peer echo_;
    Peer flood_;
    Arrivals* arrivals_ = nullptr;  // of the run that is under way
    std::unique_ptr<IPCMessageClient> requests_;
    std::unique_ptr<IPCMessageClient> pushes_;
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
