// The service without its transport: sessions, requests, families, faults, commands.
#pragma once

#include <IPCMessage/IPCMessageServer.h>
#include <json/Output.h>
#include <service/base/Scheduler.h>
#include <service/base/Transport.h>
#include <service/core/Commands.h>
#include <service/core/Faults.h>
#include <service/core/IdAllocator.h>
#include <service/radio/Radios.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace pelacon::service {

class Session;

struct Settings {
    radio::Factory makeRadios;
    std::vector<FaultConfig> faults;     ///< active from the start
    std::string worldName = "built in";  ///< for people
    std::uint64_t seed = 0;
};

/// Answers clients and operators. The handler's functions may be called from the construction on,
/// by any thread; they wait until Start was called.
class Core : public IPCServerHandler {
  public:
    explicit Core(Settings settings);

    /// Calls Stop. The transport must not call the handler any more.
    ~Core() override;

    Core(const Core&) = delete;
    Core& operator=(const Core&) = delete;

    /// Begins to answer, when the radios know the machine's state or after 3 s. The transport must
    /// outlive the core. Throws IdError; the core is stopped then.
    void Start(Transport& transport, const std::string& stateFile);

    /// Ends all waits; later requests are answered without payload. May be called repeatedly.
    void Stop();

    void ClientArrived(const IPCClientInfo& client) override;
    void ClientLeft(std::uint64_t clientId) override;
    IPCReply Request(std::uint64_t clientId, const TagIPCMessageItem& request) override;
    void Posted(std::uint64_t clientId, const TagIPCMessageItem& item) override;
    std::string Control(std::string_view command) override;
    std::optional<std::string> ControlOfAnyUser(std::string_view command) override;
    void Warn(std::string_view sentence) override;

  private:
    struct State;

    std::shared_ptr<State> MakeState();
    IPCReply Answer(State& state, Session& session, const TagIPCMessageItem& request);
    IPCReply Perform(State& state, Session& session, const TagIPCMessageItem& request);
    IPCReply Spoil(State& state, Session& session, const TagIPCMessageItem& request,
                   const FaultConfig& fault);

    void NoteUnknown(const Session& session, const TagIPCMessageItem& request);

    void MakeReady() noexcept;
    void WaitUntilReady() const noexcept;
    void AddCommands(State& state);
    void AddFaultCommands(Commands& commands);
    void AddClientCommands(Commands& commands);
    json::Output Status() const;
    void Restart();

    Scheduler scheduler_;
    const Settings settings_;  // its factory may have threads that use the scheduler
    const std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
    std::atomic<std::uint64_t> ready_{0};  // 1 once Start has ended or Stop has begun

    // Set by Start.
    Transport* transport_ = nullptr;
    std::string stateFile_;

    // All that follows is guarded by the scheduler's lock.
    std::optional<IdAllocator> ids_;
    Faults faults_;
    std::shared_ptr<State> state_;
    std::vector<std::function<void()>> afterwards_;  // to be called without the lock
    std::uint64_t served_ = 0;
    std::uint64_t unknown_ = 0;
    std::set<std::int32_t> unknownIds_;
    std::uint64_t spoilt_ = 0;
    std::uint64_t restarts_ = 0;
};

}  // namespace pelacon::service
