// A service on the channel's server: answers each request with its payload, and sends notifications
// on command: "push CLIENT MICROSECONDS", "send FIRST END SIZE CLIENT...", "stop".
#include <IPCMessage/IPCMessageServer.h>
#include <IPCMessage/NotificationBatch.h>
#include <bench/Bare.h>
#include <bench/Scenarios.h>
#include <bench/roles/Roles.h>
#include <protocol/BleManager.h>

#include <array>
#include <atomic>
#include <cstring>
#include <iostream>
#include <sstream>
#include <thread>
#include <vector>

namespace pelacon::bench {

namespace {

class EchoHandler : public IPCServerHandler {
  public:
    void ClientArrived(const IPCClientInfo& /*client*/) override {}
    void ClientLeft(std::uint64_t /*clientId*/) override {}

    IPCReply Request(std::uint64_t clientId, const TagIPCMessageItem& request) override
    {
        if (request.msgId == kTellClientId) {
            const auto* const id = reinterpret_cast<const std::uint8_t*>(&clientId);
            return {IPCReplyKind::kPayload, {id, id + sizeof clientId}};
        }
        return {IPCReplyKind::kPayload, {request.message, request.message + request.length}};
    }

    void Posted(std::uint64_t /*clientId*/, const TagIPCMessageItem& /*item*/) override {}
    std::string Control(std::string_view /*command*/) override { return {}; }
};

void Push(IPCMessageServer& server, std::uint64_t client, std::chrono::microseconds interval,
          const std::atomic<bool>& stopped)
{
    std::array<std::uint8_t, 72> payload{};
    auto next = std::chrono::steady_clock::now();
    while (!stopped) {
        std::this_thread::sleep_until(next += interval);
        const std::int64_t now = Now();
        std::memcpy(payload.data(), &now, sizeof now);
        server.Notify(client, protocol::kBtStateChanged.id, payload);
    }
}

/// Sends notifications with the numbers from the first to before the end, to each of the clients.
void Send(IPCMessageServer& server, std::istringstream& words)
{
    std::uint64_t number = 0;
    std::uint64_t end = 0;
    std::size_t size = 0;
    words >> number >> end >> size;
    std::vector<std::uint64_t> clients;
    for (std::uint64_t id = 0; words >> id;) {
        clients.push_back(id);
    }
    std::vector<std::uint8_t> payload(size);
    const ipc::NotificationBatch batch;  // as the service has when it does one thing
    const std::int64_t now = Now();
    for (; number < end; ++number) {
        const Stamp stamp{number, now};
        std::memcpy(payload.data(), &stamp, sizeof stamp);
        for (const std::uint64_t client : clients) {
            server.Notify(client, protocol::kBtStateChanged.id, payload);
        }
    }
}

}  // namespace

int RunEchoRole()
{
    EchoHandler handler;
    IPCMessageServer server(kEchoPipe, handler);
    Answer("ready");

    std::thread pushing;
    std::atomic<bool> stopped{false};
    const auto stop = [&] {
        stopped = true;
        if (pushing.joinable()) {
            pushing.join();
        }
    };
    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream words(line);
        std::string order;
        words >> order;
        stop();
        if (order == "push") {
            std::uint64_t client = 0;
            int microseconds = 0;
            words >> client >> microseconds;
            stopped = false;
            pushing = std::thread([&server, &stopped, client, microseconds] {
                Push(server, client, std::chrono::microseconds(microseconds), stopped);
            });
        } else if (order == "send") {
            Send(server, words);
        }
        Answer("done");
    }
    stop();
    return 0;
}

}  // namespace pelacon::bench
