// One request and its answer, bare and through the message client; both check the answer.
#pragma once

#include <IPCMessage/IPCMessageClient.h>
#include <bench/Bare.h>
#include <bench/Scenarios.h>
#include <protocol/Operation.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace pelacon::bench {

/// A bare connection on which a message is sent and returned.
class BareCaller {
  public:
    BareCaller(const std::string& path, std::size_t size)
        : socket_(BareSocket::Connect(
              path, {BareJob::Kind::kPingPong, static_cast<std::uint32_t>(size)})),
          message_(size)
    {}

    void operator()(std::uint32_t number)
    {
        std::memcpy(message_.data(), &number, sizeof number);
        socket_.Write(message_);
        std::uint32_t answer = ~number;
        if (socket_.Read(message_)) {
            std::memcpy(&answer, message_.data(), sizeof answer);
        }
        if (answer != number) {
            throw std::runtime_error("A bare message came back changed.");
        }
    }

  private:
    BareSocket socket_;
    std::vector<std::uint8_t> message_;
};

/// The message client, with a request as large as the bare message.
class ClientCaller {
  public:
    ClientCaller(const IPCMessageClient& client, std::size_t size) : client_(client), payload_(size)
    {
        request_.targetModuleId = protocol::kServiceModule;
        request_.sourceModuleId = protocol::kSdkModule;
        request_.msgId = protocol::kServiceModule + 1;
        request_.length = static_cast<std::uint32_t>(size);
        request_.message = payload_.data();
    }

    void operator()(std::uint32_t number)
    {
        std::memcpy(payload_.data(), &number, sizeof number);
        TagIPCMessageItem reply;
        std::uint32_t answer = ~number;
        if (client_.SendIPCMessage(request_, reply, 10'000) && reply.length == payload_.size()) {
            std::memcpy(&answer, reply.message, sizeof answer);
        }
        std::free(reply.message);
        if (answer != number) {
            throw std::runtime_error("A request was not answered with its own payload.");
        }
    }

  private:
    const IPCMessageClient& client_;
    std::vector<std::uint8_t> payload_;
    TagIPCMessageItem request_;
};

inline std::unique_ptr<IPCMessageClient> MakeEchoClient(const std::string& folder)
{
    UseRuntimeFolder(folder);
    return std::make_unique<IPCMessageClient>(protocol::kSdkModule, false, false, kEchoPipe);
}

/// The number of the client in the process that answers, which needs it to send notifications.
inline std::string ClientId(const IPCMessageClient& client)
{
    TagIPCMessageItem request;
    request.targetModuleId = protocol::kServiceModule;
    request.sourceModuleId = protocol::kSdkModule;
    request.msgId = kTellClientId;
    TagIPCMessageItem reply;
    std::uint64_t id = 0;
    if (client.SendIPCMessage(request, reply, 10'000) && reply.length == sizeof id) {
        std::memcpy(&id, reply.message, sizeof id);
    }
    std::free(reply.message);
    if (id == 0) {
        throw std::runtime_error("A client was not given its number.");
    }
    return std::to_string(id);
}

}  // namespace pelacon::bench
