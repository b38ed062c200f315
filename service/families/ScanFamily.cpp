#include <protocol/ServiceStatus.h>
#include <service/families/RadioWait.h>
#include <service/families/ScanFamily.h>

#include <algorithm>
#include <functional>
#include <utility>

namespace pelacon::service {

using protocol::ScanListenerRequest;
using radio::ScanPolicy;

namespace {

protocol::ScanResultRecord RecordOf(const radio::Heard& heard)
{
    protocol::ScanResultRecord record{};
    protocol::ScanResult& result = record.result;
    result.address = heard.address;
    result.rssi = heard.rssi;
    result.eventType = static_cast<std::int32_t>(heard.kind);
    const std::size_t length = std::min(heard.data.size(), sizeof result.data);
    result.dataLen = static_cast<std::uint32_t>(length);
    std::copy_n(heard.data.begin(), length, result.data);
    return record;
}

bool IsPolicy(std::int32_t value)
{
    return value >= static_cast<std::int32_t>(ScanPolicy::kLowPower) &&
           value <= static_cast<std::int32_t>(ScanPolicy::kLowLatency);
}

}  // namespace

/// A scan for one client.
class ScanFamily::Scan : public radio::ScanObserver {
  public:
    Scan(ScanFamily& family, Session& session, ScanPolicy policy)
        : family_(family), session_(session), policy_(policy)
    {}

    void Begin() { radio_ = family_.scanner_.Start(policy_, *this); }
    ScanPolicy Policy() const noexcept { return policy_; }

    void Started() override { family_.Started(session_); }
    void Received(const radio::Heard& heard) override { family_.Received(session_, heard); }
    void Ended(radio::Outcome why) override { family_.Ended(session_, *this, why); }

  private:
    ScanFamily& family_;
    Session& session_;
    ScanPolicy policy_;
    std::unique_ptr<radio::Scan> radio_;
};

ScanFamily::ScanFamily(const Context& context)
    : context_(context),
      adapter_(context.radios.GetAdapter()),
      scanner_(context.radios.GetScanner())
{
    adapter_.Observe([this](radio::AdapterState) {
        if (!adapter_.IsOn()) {
            AdapterWentOff();
        }
    });

    Router& router = context.router;
    router.Serve(protocol::kRegisterScanListener, std::bind_front(&ScanFamily::Register, this));
    router.Serve(protocol::kUnregisterScanListener, std::bind_front(&ScanFamily::Unregister, this));
    router.Serve(protocol::kStartBleScan, std::bind_front(&ScanFamily::Start, this));
    router.Serve(protocol::kStopBleScan, std::bind_front(&ScanFamily::Stop, this));
    router.Serve(protocol::kSetScanFilter,
                 [this](Session& session, const protocol::SetScanFilterRequest& request) {
                     const auto filters = ScanFilters::From(request);
                     return filters ? SetFilters(session, request.listenerId, *filters)
                                    : protocol::kStatusInvalidArgument;
                 });
    router.Serve(protocol::kRemoveScanFilter,
                 [this](Session& session, const ScanListenerRequest& request) {
                     return SetFilters(session, request.listenerId, {});
                 });
}

ScanFamily::~ScanFamily() = default;

void ScanFamily::ClientLeft(Session& session)
{
    clients_.erase(&session);
}

protocol::ValueStatusReply ScanFamily::Register(Session& session)
{
    Client& client = clients_[&session];
    if (client.listeners.size() >= kMostListeners) {
        return {0, protocol::kStatusLimitReached};
    }
    const std::int32_t id = context_.ids.Next();
    client.listeners.emplace(id, Listener{});
    return {id, protocol::kStatusDone};
}

std::int32_t ScanFamily::Unregister(Session& session, const ScanListenerRequest& request)
{
    if (Find(session, request.listenerId) == nullptr) {
        return protocol::kStatusUnknownId;
    }
    clients_[&session].listeners.erase(request.listenerId);
    FitScan(session);
    return protocol::kStatusDone;
}

std::int32_t ScanFamily::Start(Session& session, const protocol::StartScanRequest& request)
{
    Listener* const listener = Find(session, request.listenerId);
    if (listener == nullptr) {
        return protocol::kStatusUnknownId;
    }
    if (!IsPolicy(request.policy)) {
        return protocol::kStatusInvalidArgument;
    }
    if (!adapter_.IsOn()) {
        return protocol::kStatusRadioOff;
    }
    listener->policy = static_cast<ScanPolicy>(request.policy);
    FitScan(session);
    if (clients_[&session].scan) {
        NotifyStarted(session);
    }
    return protocol::kStatusDone;
}

std::int32_t ScanFamily::Stop(Session& session, const ScanListenerRequest& request)
{
    Listener* const listener = Find(session, request.listenerId);
    if (listener == nullptr) {
        return protocol::kStatusUnknownId;
    }
    if (std::exchange(listener->policy, std::nullopt)) {
        listener->isNotified = false;
        FitScan(session);
        session.Notify(protocol::kScanStatus, {request.listenerId, kBleScanStopped});
    }
    return protocol::kStatusDone;
}

std::int32_t ScanFamily::SetFilters(Session& session, std::int32_t id, const ScanFilters& filters)
{
    Listener* const listener = Find(session, id);
    if (listener == nullptr) {
        return protocol::kStatusUnknownId;
    }
    listener->filters = filters;
    return protocol::kStatusDone;
}

ScanFamily::Listener* ScanFamily::Find(Session& session, std::int32_t id)
{
    const auto client = clients_.find(&session);
    if (client == clients_.end()) {
        return nullptr;
    }
    const auto listener = client->second.listeners.find(id);
    return listener != client->second.listeners.end() ? &listener->second : nullptr;
}

/// Starts the client's scan, ends it or changes its policy, as its listeners require. A scan
/// continues until the one with the new policy has started.
void ScanFamily::FitScan(Session& session)
{
    Client& client = clients_[&session];
    std::optional<ScanPolicy> policy;
    for (const auto& [id, listener] : client.listeners) {
        policy = std::max(policy, listener.policy);
    }
    if (!policy) {
        client.next.reset();
        client.scan.reset();
        return;
    }
    if (client.next && client.next->Policy() == *policy) {
        return;
    }
    client.next.reset();
    if (!client.scan || client.scan->Policy() != *policy) {
        client.next = std::make_unique<Scan>(*this, session, *policy);
        client.next->Begin();
    }
}

/// Notifies the client of those of its listeners that scan and were not notified yet.
void ScanFamily::NotifyStarted(Session& session)
{
    for (auto& [id, listener] : clients_[&session].listeners) {
        if (listener.policy && !std::exchange(listener.isNotified, true)) {
            session.Notify(protocol::kScanStatus, {id, kBleScanStarted});
        }
    }
}

/// Ends the client's scan and notifies it of the reason.
void ScanFamily::StopAll(Session& session, std::int32_t why)
{
    for (auto& [id, listener] : clients_[&session].listeners) {
        if (std::exchange(listener.policy, std::nullopt)) {
            listener.isNotified = false;
            session.Notify(protocol::kScanStatus, {id, why});
        }
    }
    FitScan(session);
}

void ScanFamily::Started(Session& session)
{
    Client& client = clients_[&session];
    client.scan = std::move(client.next);
    NotifyStarted(session);
}

void ScanFamily::Ended(Session& session, const Scan& scan, radio::Outcome why)
{
    Client& client = clients_[&session];
    if (client.scan && client.next) {
        // The other scan continues, or starts.
        (client.next.get() == &scan ? client.next : client.scan).reset();
        return;
    }
    StopAll(session, IsAdapterOff(why) ? kBleScanStoppedAdapterOff : kBleScanRadioFailed);
}

void ScanFamily::Received(Session& session, const radio::Heard& heard)
{
    const auto& listeners = clients_[&session].listeners;
    const bool isWanted = std::any_of(listeners.begin(), listeners.end(), [&](const auto& entry) {
        return entry.second.policy && entry.second.filters.Pass(heard);
    });
    if (isWanted) {
        session.Notify(protocol::kScanResult, RecordOf(heard), Transport::Urgency::kDroppable);
    }
}

void ScanFamily::AdapterWentOff()
{
    for (auto& [session, client] : clients_) {
        StopAll(*session, kBleScanStoppedAdapterOff);
    }
}

void ScanFamily::Repair(Session& session, const protocol::RepairRequest& held)
{
    Client& client = clients_[&session];
    for (const std::int32_t id : held.scannerIds) {
        if (id <= 0 || client.listeners.size() >= kMostListeners) {
            continue;
        }
        const auto [entry, isNew] = client.listeners.try_emplace(id);
        if (!isNew) {
            continue;  // registered since the restart
        }
        const bool scans = adapter_.IsOn();
        if (scans) {
            entry->second.policy = ScanPolicy::kLowLatency;
            entry->second.isNotified = true;
        }
        session.Notify(protocol::kScanStatus,
                       {id, scans ? kBleScanServiceRestart : kBleScanStoppedAdapterOff});
    }
    FitScan(session);
}

void ScanFamily::Describe(json::Output& status) const
{
    std::size_t listeners = 0;
    std::size_t scanning = 0;
    for (const auto& [session, client] : clients_) {
        listeners += client.listeners.size();
        scanning += static_cast<std::size_t>(
            std::count_if(client.listeners.begin(), client.listeners.end(),
                          [](const auto& entry) { return entry.second.policy.has_value(); }));
    }
    status["scanner"] = {{"listeners", listeners}, {"scanning", scanning}};
}

}  // namespace pelacon::service
