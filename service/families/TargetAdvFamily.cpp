#include <protocol/ServiceStatus.h>
#include <service/families/TargetAdvFamily.h>

namespace pelacon::service {

using protocol::TargetAdvRecord;

namespace {

constexpr std::uint64_t kUnknownMany = std::uint64_t{1} << 32U;

}  // namespace

TargetAdvFamily::TargetAdvFamily(const Context& context)
{
    context.radios.GetTargetAdvs().Observe(
        [this](const TargetAdvRecord& received) { Notify(received); });

    Router& router = context.router;
    router.Serve(protocol::kRegisterTargetAdv, [this](Session& session) {
        ++registrations_[&session];
        return protocol::kStatusDone;
    });
    router.Serve(protocol::kUnregisterTargetAdv,
                 [this](Session& session) { return Unregister(session); });
    router.Serve(protocol::kPushTargetAdv, [this](const TargetAdvRecord& record) {
        Notify(record);
        return protocol::kStatusDone;
    });
}

// The library does not register again with a service that was restarted, so a returning client may
// have any number of registrations: it is notified until it leaves, and its library ignores what it
// has no table for.
void TargetAdvFamily::ClientArrived(Session& session, bool returning)
{
    if (returning) {
        registrations_.emplace(&session, kUnknownMany);
    }
}

void TargetAdvFamily::ClientLeft(Session& session)
{
    registrations_.erase(&session);
}

std::int32_t TargetAdvFamily::Unregister(Session& session)
{
    const auto found = registrations_.find(&session);
    if (found == registrations_.end()) {
        return protocol::kStatusUnknownId;
    }
    if (--found->second == 0) {
        registrations_.erase(found);
    }
    return protocol::kStatusDone;
}

void TargetAdvFamily::Notify(const TargetAdvRecord& record) const
{
    for (const auto& [session, count] : registrations_) {
        session->Notify(protocol::kTargetAdvReceived, record);
    }
}

void TargetAdvFamily::Describe(json::Output& status) const
{
    status["targetedAdvertisements"] = {{"listeners", registrations_.size()}};
}

}  // namespace pelacon::service
