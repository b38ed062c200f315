#include <IPCMessage/Transport.h>
#include <PelaconSDK/PelaconSDK.h>
#include <bench/Bare.h>
#include <bench/roles/Roles.h>
#include <bench/scale/Roles.h>
#include <protocol/Operation.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <list>
#include <memory>
#include <sstream>
#include <string>

namespace pelacon::bench {

namespace {

/// What the callbacks count.
struct Calls {
    std::atomic<std::uint64_t> left{0};
    std::atomic<std::int64_t> last{0};

    void Note()
    {
        if (left.fetch_sub(1) == 1) {
            last = Now();
            last.notify_all();
        }
    }
};
Calls calls;

/// Starts the library, and makes the first request, so that there is a connection.
bool Start()
{
    PelaconSvcStart();
    return GetBtRunningState() != kBtStateUnknown;
}

void Count(int milliseconds)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    std::uint64_t count = 0;
    while (std::chrono::steady_clock::now() < end) {
        if (!BleManager::IsBtEnabled()) {
            Answer("a request failed");
            std::exit(1);
        }
        ++count;
    }
    Answer(std::to_string(count));
}

/// A connection that has been greeted, and is open until the service refuses it.
std::unique_ptr<ipc::Connection> OpenConnection(const ipc::Token& token)
{
    static const std::atomic<bool> never{false};
    ipc::Deadline deadline(std::chrono::seconds(10));
    auto connection =
        ipc::Connect(ipc::FindPipePlaces(protocol::kServicePipe), deadline, never).connection;
    const ipc::FrameBuffer buffer;
    const ipc::FrameHeader hello{.kind = ipc::FrameKind::kHelloCall, .flags = ipc::kHasPayload};
    if (!connection || connection->Send(ipc::WriteFrame(buffer.Room(), hello, token), deadline) !=
                           ipc::IoStatus::kDone) {
        return nullptr;
    }
    return connection;
}

}  // namespace

int RunCallerRole()
{
    if (!Start()) {
        return 1;
    }
    Answer("ready");
    std::string order;
    for (int milliseconds = 0; std::cin >> order >> milliseconds;) {
        Count(milliseconds);
    }
    PelaconSvcStop();
    return 0;
}

int RunListenerRole()
{
    if (!Start()) {
        return 1;
    }
    std::list<BtManagerCallbacksC> tables;
    std::list<BleScanCallbacksC> scanTables;
    Answer("ready");
    std::string order;
    for (std::uint64_t number = 0; std::cin >> order >> number;) {
        if (order == "listen") {
            for (std::uint64_t i = 0; i < number; ++i) {
                tables.push_back({[](std::int32_t) { calls.Note(); }});
                if (RegisterBtStateChangeCallbacks(&tables.back()) != kBleStatusSuccess) {
                    return 1;
                }
            }
            Answer("done");
        } else if (order == "scan") {
            for (std::uint64_t i = 0; i < number; ++i) {
                scanTables.push_back({});
                std::int32_t id = 0;
                if (BleScanner::BleScanRegisterCallbacks(&scanTables.back(), &id) !=
                    kBleStatusSuccess) {
                    return 1;
                }
            }
            Answer("done");
        } else {
            calls.last = 0;
            calls.left = number * tables.size();
            Answer("done");
            calls.last.wait(0);
            Answer(std::to_string(calls.last));
        }
    }
    PelaconSvcStop();
    return 0;
}

int RunHolderRole()
{
    const ipc::Token token = ipc::DrawToken();
    std::list<std::unique_ptr<ipc::Connection>> held;
    Answer("ready");
    std::string order;
    for (std::size_t number = 0; std::cin >> order >> number;) {
        for (std::size_t i = 0; i < number; ++i) {
            held.push_back(OpenConnection(token));
        }
        Answer("done");
    }
    return 0;
}

}  // namespace pelacon::bench
