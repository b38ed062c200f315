// Waiting for what becomes of a group or a soft AP.
#pragma once

#include <protocol/ServiceStatus.h>
#include <service/base/Scheduler.h>
#include <service/core/Session.h>
#include <service/radio/Groups.h>

#include <functional>
#include <optional>

namespace pelacon::service {

constexpr protocol::ServiceStatus StatusOf(radio::GroupOutcome outcome)
{
    using radio::GroupOutcome;
    switch (outcome) {
        case GroupOutcome::kDone:
            return protocol::kStatusDone;
        case GroupOutcome::kWifiOff:
            return protocol::kStatusRadioOff;
        case GroupOutcome::kBusy:
            return protocol::kStatusBusy;
        case GroupOutcome::kNoGroup:
            return protocol::kStatusNotFound;
        case GroupOutcome::kAborted:
            return protocol::kStatusInterrupted;
        case GroupOutcome::kNotPermitted:
            return protocol::kStatusNotPermitted;
        case GroupOutcome::kFailed:
            break;
    }
    return protocol::kStatusNotSupported;
}

/// Begins something at the radio and waits for its end; kAborted where the service ends meanwhile.
/// Nothing where the client has left (the connection of its request may still be there): the group
/// may still come or go, so no outcome would be true. Without an outcome of the radio's the family
/// may be gone, and is not to be touched.
inline std::optional<radio::GroupOutcome> AwaitGroup(
    Scheduler& scheduler, Session& session, const std::function<void(radio::Groups::Done)>& begin)
{
    const Completion<radio::GroupOutcome> completion(scheduler);
    begin([completion](radio::GroupOutcome outcome) { completion.Set(outcome); });
    if (const auto outcome = session.Await(completion, radio::kGroupPatience)) {
        return outcome;
    }
    return scheduler.IsStopping() ? std::optional(radio::GroupOutcome::kAborted) : std::nullopt;
}

}  // namespace pelacon::service
