// Waiting for what becomes of a group or a soft AP.
#pragma once

#include <service/base/Scheduler.h>
#include <service/core/Session.h>
#include <service/radio/Groups.h>

#include <functional>
#include <optional>

namespace pelacon::service {

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
