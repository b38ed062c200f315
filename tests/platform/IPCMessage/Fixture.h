// The fixture of the channel's tests: a scripted service, and programs at the other end.
#pragma once

#include <IPCMessage/IPCMessageClient.h>
#include <IPCMessage/IPCMessageServer.h>
#include <tests/platform/IPCMessage/Surroundings.h>
#include <tests/support/Bytes.h>
#include <tests/support/ChildProcess.h>
#include <tests/support/Eventually.h>
#include <tests/support/Mailbox.h>
#include <tests/support/RuntimeFolder.h>
#include <tests/support/TimeLimit.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace pelacon::test {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/// A time-out that does not end in a test that passes.
inline constexpr unsigned kNoHurry = 20'000;

/// Longer than anything takes that does not wait, on a busy machine and under sanitizers; far
/// shorter than kNoHurry.
inline constexpr std::chrono::seconds kSoon{5};

inline constexpr bool kSanitized = PELACON_TEST_SANITIZED;
inline constexpr bool kThreadSanitized = PELACON_TEST_THREAD_SANITIZED;

inline const std::wstring kPipe = L"\\\\.\\Pipe\\ChannelTest";

/// Lets threads wait for each other.
class Gate {
  public:
    void Open()
    {
        const std::lock_guard lock(mutex_);
        open_ = true;
        changed_.notify_all();
    }

    /// False when it is not opened in time.
    bool Pass(milliseconds patience = kPatience)
    {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, patience, [this] { return open_; });
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool open_ = false;
};

/// How long the action takes.
template <typename Action>
Clock::duration Duration(const Action& action)
{
    const auto start = Clock::now();
    action();
    return Clock::now() - start;
}

template <typename Value>
Value Median(std::vector<Value> values)
{
    std::sort(values.begin(), values.end());
    return values.at(values.size() / 2);
}

/// Runs the action on that many threads at once, with the index of each, and waits for them.
void OnThreads(std::size_t count, const std::function<void(std::size_t index)>& action);

/// A service or a client as a process. The destructor kills it.
class PeerProcess {
  public:
    /// See peer/main.cpp for the roles.
    explicit PeerProcess(const std::string& role) : process_(CHANNEL_PEER, {role}, {.input = true})
    {}

    /// The next line that it writes; throws when there is none.
    std::string ReadLine();

    void WriteLine(const std::string& line) { process_.Write(line); }

    std::uint32_t Id() const { return process_.Id(); }
    int WaitForExit() { return process_.Wait(kPatience); }
    void Kill() { process_.Kill(); }
    void Suspend() { SuspendProcess(Id()); }
    void Resume() { ResumeProcess(Id()); }

  private:
    ChildProcess process_;
};

/// An item as it was sent, with a payload of its own.
struct Message {
    TagIPCMessageItem item;
    bool hasPayload = false;
    ByteVector payload;

    Message() = default;
    explicit Message(const TagIPCMessageItem& from);
};

/// The handler of a service. By default it answers each request with the request's payload.
class Handler : public IPCServerHandler {
  public:
    using RequestHook = std::function<IPCReply(std::uint64_t client, const TagIPCMessageItem&)>;

    // Set before the server starts.
    RequestHook onRequest;
    std::function<void(const IPCClientInfo& client)> onArrived;
    std::function<void(const TagIPCMessageItem& item)> onPosted;
    std::function<std::string(std::string_view command)> onControl;
    std::function<std::optional<std::string>(std::string_view command)> onControlOfAnyUser;

    Mailbox<IPCClientInfo> arrived;
    Mailbox<std::uint64_t> left;
    Mailbox<Message> posted;
    Mailbox<std::string> warnings;

    /// The id of the client that arrived last.
    std::optional<std::uint64_t> LastArrived() const
    {
        const auto last = arrived.Last();
        return last ? std::optional(last->id) : std::nullopt;
    }

    static IPCReply Echo(const TagIPCMessageItem& request);

    void ClientArrived(const IPCClientInfo& client) override;
    void ClientLeft(std::uint64_t clientId) override;
    IPCReply Request(std::uint64_t clientId, const TagIPCMessageItem& request) override;
    void Posted(std::uint64_t clientId, const TagIPCMessageItem& item) override;
    std::string Control(std::string_view command) override;
    std::optional<std::string> ControlOfAnyUser(std::string_view command) override;
    void Warn(std::string_view sentence) override { warnings.Put(std::string(sentence)); }
};

/// The answer to a request: nothing where the call failed.
struct Answer {
    TagIPCMessageItem item;
    std::unique_ptr<std::uint8_t, void (*)(void*)> payload{nullptr, &std::free};

    ByteVector Bytes() const { return {payload.get(), payload.get() + item.length}; }
};

/// Makes a request with that id, with or without a payload.
std::optional<Answer> Request(const IPCMessageClient& client, std::int32_t messageId,
                              const std::optional<ByteVector>& payload,
                              unsigned timeoutMs = kNoHurry);

/// Whether a request is answered.
bool IsServed(const IPCMessageClient& client, unsigned timeoutMs = kNoHurry);

bool Post(const IPCMessageClient& client, std::int32_t messageId, const ByteVector& payload);

class ChannelTest : public testing::Test {
  protected:
    /// Ends client and server at the end of its scope. To be declared after the variables of a test
    /// that callbacks and hooks use.
    class Ending {
      public:
        explicit Ending(ChannelTest& test) : test_(test) {}
        ~Ending() { test_.End(); }
        Ending(const Ending&) = delete;
        Ending& operator=(const Ending&) = delete;

      private:
        ChannelTest& test_;
    };

    void TearDown() override { End(); }

    void StartServer() { server = std::make_unique<IPCMessageServer>(kPipe, handler); }
    void StartClient() { client = std::make_unique<IPCMessageClient>(1, false, false, kPipe); }

    /// A server, and a client that has arrived at it.
    void StartBoth()
    {
        StartServer();
        StartClient();
        clientId = handler.arrived.WaitFor(1).back().id;
    }

    /// Makes requests wait at the gate, and counts them.
    void HoldRequests(std::atomic<int>& inside)
    {
        handler.onRequest = [&](std::uint64_t, const TagIPCMessageItem& request) {
            ++inside;
            gate.Pass();
            return Handler::Echo(request);
        };
    }

    void End()
    {
        gate.Open();
        client.reset();
        server.reset();
    }

    RuntimeFolder folder;
    Gate gate;  ///< for hooks to wait at; End opens it
    Handler handler;
    std::unique_ptr<IPCMessageServer> server;
    std::unique_ptr<IPCMessageClient> client;
    std::uint64_t clientId = 0;
};

}  // namespace pelacon::test
