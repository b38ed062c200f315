// gRPC over a Unix socket, with its blocking calls.
#include <bench/Peer.h>
#include <bench/peers/Caller.h>
#include <bench/roles/Roles.h>

#include <echo.grpc.pb.h>
#include <grpcpp/grpcpp.h>

#include <cstring>
#include <stdexcept>

namespace pelacon::bench {

namespace {

using grpc_peer::Bytes;
using grpc_peer::Order;
using grpc_peer::Other;

std::string AddressIn(const std::string& folder)
{
    return "unix:" + folder + "/grpc.sock";
}

class OtherProcess : public Other::Service {
  public:
    grpc::Status Echo(grpc::ServerContext*, const Bytes* request, Bytes* reply) override
    {
        reply->set_value(request->value());
        return grpc::Status::OK;
    }

    grpc::Status Push(grpc::ServerContext*, const Order* order,
                      grpc::ServerWriter<Bytes>* writer) override
    {
        Bytes message;
        for (std::uint32_t number = 0; number < order->count(); ++number) {
            message.mutable_value()->resize(order->size());
            std::memcpy(message.mutable_value()->data(), &number, sizeof number);
            if (!writer->Write(message)) {
                break;
            }
        }
        return grpc::Status::OK;
    }
};

class Grpc : public Caller {
  public:
    explicit Grpc(const std::string& folder)
        : peer_(Peer::InRole("grpc", folder)),
          stub_(Other::NewStub(
              grpc::CreateChannel(AddressIn(folder), grpc::InsecureChannelCredentials())))
    {
        peer_.Hear();
    }

    std::string Name() const override { return "gRPC, Unix socket"; }

    void Call(std::vector<std::uint8_t>& message) override
    {
        Bytes request;
        Bytes reply;
        request.set_value(message.data(), message.size());
        grpc::ClientContext context;
        context.set_wait_for_ready(true);
        const grpc::Status status = stub_->Echo(&context, request, &reply);
        if (!status.ok()) {
            throw std::runtime_error("gRPC: " + status.error_message());
        }
        message.assign(reply.value().begin(), reply.value().end());
    }

    void Receive(std::uint32_t size, std::uint32_t count, Arrivals& arrivals) override
    {
        Order order;
        order.set_size(size);
        order.set_count(count);
        grpc::ClientContext context;
        const auto reader = stub_->Push(&context, order);
        for (Bytes message; reader->Read(&message);) {
            arrivals.Take(NumberOf(message.value().data()));
        }
        reader->Finish();
    }

  private:
    Peer peer_;
    std::unique_ptr<Other::Stub> stub_;
};

}  // namespace

int RunGrpcRole()
{
    OtherProcess other;
    grpc::ServerBuilder builder;
    builder.AddListeningPort(AddressIn(RoleFolder()), grpc::InsecureServerCredentials());
    builder.RegisterService(&other);
    const auto server = builder.BuildAndStart();
    Answer("ready");
    server->Wait();
    return 0;
}

std::unique_ptr<Caller> MakeGrpcCaller(const std::string& folder)
{
    return std::make_unique<Grpc>(folder);
}

}  // namespace pelacon::bench
