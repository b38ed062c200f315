#include <os/Processes.h>
#include <os/WordWait.h>
#include <protocol/ServiceStatus.h>
#include <service/Version.h>
#include <service/base/Log.h>
#include <service/core/Core.h>
#include <service/core/CoreState.h>
#include <service/core/Trace.h>

#include <algorithm>
#include <exception>
#include <iterator>
#include <utility>

namespace pelacon::service {

namespace {

/// How long the start waits for radios that look at the machine for the first time.
constexpr std::chrono::seconds kFirstLook{3};

ByteView PayloadOf(const TagIPCMessageItem& item)
{
    return item.message != nullptr ? ByteView(item.message, item.length) : ByteView();
}

IPCReply WithoutPayload()
{
    return {IPCReplyKind::kNoPayload, {}};
}

}  // namespace

Core::State::State(Scheduler& scheduler, std::unique_ptr<radio::Radios> theRadios, IdAllocator& ids,
                   Transport& transport)
    : radios(std::move(theRadios)), sessions(scheduler, transport, families)
{
    Context context{scheduler, router, *radios, ids, commands};
    families = MakeFamilies(context);
    radios->AddCommands(commands);
    router.Serve(protocol::kRepairResource,
                 [this](Session& session, const protocol::RepairRequest& held) {
                     for (const auto& family : families) {
                         family->Repair(session, held);
                     }
                     return protocol::kStatusDone;
                 });
}

Core::Core(Settings settings)
    : scheduler_(settings.seed), settings_(std::move(settings)), faults_(settings_.seed)
{
    for (const FaultConfig& fault : settings_.faults) {
        faults_.Add(fault);
    }
}

Core::~Core()
{
    Stop();
}

void Core::Start(Transport& transport, const std::string& stateFile)
{
    try {
        const Scheduler::Guard lock = scheduler_.Lock();
        transport_ = &transport;
        stateFile_ = stateFile;
        ids_.emplace(stateFile);
        state_ = MakeState();
        // A client that returns must not be notified of a state that is not known yet.
        scheduler_.Wait(kFirstLook, [this] { return state_->radios->IsKnown(); });
    } catch (...) {
        MakeReady();
        throw;
    }
    MakeReady();
}

void Core::MakeReady() noexcept
{
    ready_ = 1;
    os::WakeAll(ready_);
}

void Core::WaitUntilReady() const noexcept
{
    os::WaitWhile(ready_, 0);
}

void Core::Stop()
{
    MakeReady();
    scheduler_.Stop();
    const Scheduler::Guard lock = scheduler_.Lock();
    if (state_) {
        state_->sessions.EndAll();
        state_->radios->Release();
        state_.reset();
    }
}

std::shared_ptr<Core::State> Core::MakeState()
{
    auto state = std::make_shared<State>(scheduler_, settings_.makeRadios(scheduler_, stateFile_),
                                         *ids_, *transport_);
    AddCommands(*state);
    return state;
}

void Core::ClientArrived(const IPCClientInfo& client)
{
    WaitUntilReady();
    const Scheduler::Guard lock = scheduler_.Lock();
    if (state_) {
        state_->sessions.Arrive(client);
    }
}

void Core::ClientLeft(std::uint64_t clientId)
{
    WaitUntilReady();
    const Scheduler::Guard lock = scheduler_.Lock();
    if (state_) {
        state_->sessions.Leave(clientId);
    }
}

IPCReply Core::Request(std::uint64_t clientId, const TagIPCMessageItem& request)
{
    WaitUntilReady();
    const bool traced = log::IsWanted(LogLevel::kDebug);
    const auto begin = traced ? Scheduler::Clock::now() : Scheduler::Clock::time_point();
    // While the handler waits, the service may restart or end. These pointers keep the handler's
    // state and session until it returns; they are destroyed under the lock.
    const Scheduler::Guard lock = scheduler_.Lock();
    const std::shared_ptr<State> state = state_;
    if (!state) {
        return WithoutPayload();
    }
    const std::shared_ptr<Session> session = state->sessions.Of(clientId);
    if (traced) {
        TraceRequest(clientId, request.msgId, PayloadOf(request));
    }
    IPCReply reply = Answer(*state, *session, request);
    if (traced) {
        TraceReply(clientId, request.msgId, request.length, reply.payload,
                   Scheduler::Clock::now() - begin);
    }
    return reply;
}

// A post is not answered. Faults that affect a connection affect the client's event connection.
void Core::Posted(std::uint64_t clientId, const TagIPCMessageItem& item)
{
    const IPCReplyKind outcome = Request(clientId, item).kind;
    if (outcome == IPCReplyKind::kDisconnect) {
        transport_->Disconnect(clientId);
    } else if (outcome == IPCReplyKind::kMalformed) {
        transport_->SendMalformed(clientId);
    }
}

IPCReply Core::Answer(State& state, Session& session, const TagIPCMessageItem& request)
{
    ++served_;
    if (faults_.IsEmpty()) {
        return Perform(state, session, request);
    }
    const FaultVerdict verdict = faults_.Judge(request.msgId, request.length);
    if (verdict.delay.count() > 0) {
        log::Info("fault: ", RequestName(request.msgId, request.length), " of client ",
                  session.ClientId(), " waits ", verdict.delay.count(), " ms");
        if (!session.WaitFor(verdict.delay)) {
            return WithoutPayload();
        }
    }
    return verdict.fault ? Spoil(state, session, request, *verdict.fault)
                         : Perform(state, session, request);
}

IPCReply Core::Spoil(State& state, Session& session, const TagIPCMessageItem& request,
                     const FaultConfig& fault)
{
    ++spoilt_;
    log::Info("fault: ", RequestName(request.msgId, request.length), " of client ",
              session.ClientId(), ": ", NameOf(fault.kind));
    if (fault.perform) {
        Perform(state, session, request);
    }
    switch (fault.kind) {
        case FaultKind::kStatus:
            return {
                IPCReplyKind::kPayload,
                ReplyWithStatus(protocol::FindRequest(request.msgId, request.length), fault.status)
                    .value_or(Bytes())};
        case FaultKind::kNever:
            return {IPCReplyKind::kNever, {}};
        case FaultKind::kDisconnect:
            return {IPCReplyKind::kDisconnect, {}};
        case FaultKind::kMalformed:
            return {IPCReplyKind::kMalformed, {}};
        case FaultKind::kDelay:
        case FaultKind::kEmpty:
            break;
    }
    return WithoutPayload();
}

IPCReply Core::Perform(State& state, Session& session, const TagIPCMessageItem& request)
{
    const Router::Route* const route = state.router.Find(request.msgId, request.length);
    if (route == nullptr) {
        NoteUnknown(session, request);
        return WithoutPayload();
    }
    try {
        std::optional<Bytes> payload = route->handler(session, PayloadOf(request));
        return payload ? IPCReply{IPCReplyKind::kPayload, *std::move(payload)} : WithoutPayload();
    } catch (const std::exception& failure) {
        log::Error(route->name, " of client ", session.ClientId(), " failed: ", failure.what());
        return WithoutPayload();
    }
}

// Warns once per id, so that a client cannot fill the log.
void Core::NoteUnknown(const Session& session, const TagIPCMessageItem& request)
{
    constexpr std::size_t kMostIds = 256;
    ++unknown_;
    const bool isNew = unknownIds_.size() < kMostIds && unknownIds_.insert(request.msgId).second;
    log::Write(isNew ? LogLevel::kWarning : LogLevel::kDebug, "client ", session.ClientId(),
               " asks for what is not known here: ", RequestName(request.msgId, request.length));
}

std::string Core::Control(std::string_view command)
{
    WaitUntilReady();
    std::string answer;
    std::vector<std::function<void()>> afterwards;
    {
        const Scheduler::Guard lock = scheduler_.Lock();
        const std::shared_ptr<State> state = state_;
        if (!state) {
            return R"({"ok":false,"error":"the service is ending"})";
        }
        answer = state->commands.Run(command);
        afterwards.swap(afterwards_);
    }
    for (const auto& action : afterwards) {
        action();
    }
    return answer;
}

std::optional<std::string> Core::ControlOfAnyUser(std::string_view command)
{
    std::string compact;
    std::ranges::remove_copy(command, std::back_inserter(compact), ' ');
    const bool isPing = compact == "ping" || compact == R"({"command":"ping"})";
    return isPing ? std::optional(Control("ping")) : std::nullopt;
}

void Core::Warn(std::string_view sentence)
{
    log::Warning(sentence);
}

void Core::Restart()
{
    log::Info("restart requested by an operator");
    ++restarts_;
    state_->sessions.EndAll();
    state_->radios->Release();
    state_ = MakeState();
    afterwards_.emplace_back([this] { transport_->DisconnectAll(); });
}

json::Output Core::Status() const
{
    using std::chrono::duration_cast;
    using std::chrono::milliseconds;
    const Transport::Statistics line = transport_->GetStatistics();
    json::Output::List clients;
    for (const auto& session : state_->sessions.Present()) {
        clients.push_back({{"client", session->ClientId()}, {"pid", session->ProcessId()}});
    }
    json::Output status{
        {"version", kVersion},
        {"pid", os::CurrentProcessId()},
        {"uptimeMs", duration_cast<milliseconds>(Scheduler::Clock::now() - begin_).count()},
        {"radios", state_->radios->Describe()},
        {"world", settings_.worldName},
        {"seed", settings_.seed},
        {"clients", clients},
        {"faults", faults_.Describe()},
        {"counters",
         {{"requests", served_},
          {"unknownRequests", unknown_},
          {"faults", spoilt_},
          {"restarts", restarts_},
          {"callConnections", line.callConnections},
          {"repliesToNobody", line.repliesToNobody},
          {"notifications", line.notifications},
          {"notificationsDropped", line.notificationsDropped},
          {"slowClients", line.slowClients},
          {"malformedFrames", line.malformedFrames},
          {"refusedPeers", line.refusedPeers}}},
    };
    for (const auto& family : state_->families) {
        family->Describe(status);
    }
    return status;
}

}  // namespace pelacon::service
