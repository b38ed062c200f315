// A service on the channel's server: answers each request with its payload, and sends notifications
// on command.
#include <IPCMessage/IPCMessageServer.h>
#include <bench/Bare.h>
#include <bench/Scenarios.h>
#include <bench/roles/Roles.h>
#include <protocol/BleManager.h>

#include <array>
#include <atomic>
#include <cstring>
#include <iostream>
#include <mutex>
#include <set>
#include <sstream>
#include <thread>

namespace pelacon::bench {

namespace {

class EchoHandler : public IPCServerHandler {
  public:
    void ClientArrived(const IPCClientInfo& client) override
    {
        const std::lock_guard lock(mutex_);
        clients_.insert(client.id);
    }

    void ClientLeft(std::uint64_t clientId) override
    {
        const std::lock_guard lock(mutex_);
        clients_.erase(clientId);
    }

    IPCReply Request(std::uint64_t /*clientId*/, const TagIPCMessageItem& request) override
    {
        return {IPCReplyKind::kPayload, {request.message, request.message + request.length}};
    }

    void Posted(std::uint64_t /*clientId*/, const TagIPCMessageItem& /*item*/) override {}
    std::string Control(std::string_view /*command*/) override { return {}; }

    /// To the latest client; other measurements have others.
    void PushTo(IPCMessageServer& server, std::span<const std::uint8_t> payload)
    {
        const std::lock_guard lock(mutex_);
        if (!clients_.empty()) {
            server.Notify(*clients_.rbegin(), protocol::kBtStateChanged.id, payload);
        }
    }

  private:
    std::mutex mutex_;
    std::set<std::uint64_t> clients_;
};

void Push(IPCMessageServer& server, EchoHandler& handler, std::chrono::microseconds interval,
          const std::atomic<bool>& stopped)
{
    std::array<std::uint8_t, 72> payload{};
    auto next = std::chrono::steady_clock::now();
    while (!stopped) {
        std::this_thread::sleep_until(next += interval);
        const std::int64_t now = Now();
        std::memcpy(payload.data(), &now, sizeof now);
        handler.PushTo(server, payload);
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
        int microseconds = 0;
        words >> order >> microseconds;
        stop();
        if (order == "push") {
            stopped = false;
            pushing = std::thread([&server, &handler, &stopped, microseconds] {
                Push(server, handler, std::chrono::microseconds(microseconds), stopped);
            });
        }
        Answer("done");
    }
    stop();
    return 0;
}

}  // namespace pelacon::bench
