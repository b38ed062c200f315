// Waiting for the radio's part of a request.
#pragma once

#include <protocol/ServiceStatus.h>
#include <service/base/Scheduler.h>
#include <service/core/Session.h>
#include <service/radio/Groups.h>
#include <service/radio/Outcome.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <utility>

namespace pelacon::service {

constexpr protocol::ServiceStatus StatusOf(radio::Outcome outcome)
{
    using radio::Outcome;
    switch (outcome) {
        case Outcome::kDone:
            return protocol::kStatusDone;
        case Outcome::kOff:
        case Outcome::kBlocked:
            return protocol::kStatusRadioOff;
        case Outcome::kNotPermitted:
            return protocol::kStatusNotPermitted;
        case Outcome::kLimitReached:
            return protocol::kStatusLimitReached;
        case Outcome::kNoAdapter:
        case Outcome::kFailed:
            break;
    }
    return protocol::kStatusNotSupported;
}

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

/// Whether something ended because there is no adapter that is on.
constexpr bool IsAdapterOff(radio::Outcome why)
{
    return why == radio::Outcome::kNoAdapter || StatusOf(why) == protocol::kStatusRadioOff;
}

/// How long an operation's handler waits for a radio: well within the time-out of the client.
template <typename Operation>
constexpr Scheduler::Duration PatienceOf(const Operation& operation)
{
    return operation.timeout / 2;
}

/// Waits for a status. The family may be destroyed meanwhile: the caller does not use it any more.
inline std::int32_t AwaitStatus(Scheduler& scheduler, Session& session,
                                const Completion<std::int32_t>& status, Scheduler::Duration limit)
{
    if (const auto result = session.Await(status, limit)) {
        return *result;
    }
    const bool isOver = !session.IsPresent() || scheduler.IsStopping();
    return isOver ? protocol::kStatusInterrupted : protocol::kStatusPeerUnreachable;
}

/// Calls `begin`, which makes a radio begin something, and waits for the status as AwaitStatus
/// does.
inline std::int32_t AwaitRadio(Scheduler& scheduler, Session& session, Scheduler::Duration patience,
                               const std::function<void(radio::OutcomeDone)>& begin)
{
    const Completion<std::int32_t> status(scheduler);
    begin([status](radio::Outcome outcome) { status.Set(StatusOf(outcome)); });
    return AwaitStatus(scheduler, session, status, patience);
}

/// Calls `begin`, which makes the radio create or remove a group, and waits for the outcome.
/// Returns kAborted if the service ends meanwhile, and nothing if the client has left (the
/// connection of its request may still be open): the radio has not finished then. In both cases the
/// family may be destroyed and must not be used any more.
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

/// Something that a radio begins for a request, and that is cancelled if it takes too long or is no
/// longer wanted.
class Attempt {
  public:
    explicit Attempt(Scheduler& scheduler) : scheduler_(scheduler), status_(scheduler) {}
    ~Attempt() { End(protocol::kStatusInterrupted); }
    Attempt(const Attempt&) = delete;
    Attempt& operator=(const Attempt&) = delete;

    bool IsUnderWay() const noexcept { return !status_.Get().has_value(); }

    /// Ends it after this time, if it is still under way then, and calls `giveUp`, which may
    /// destroy this.
    void GiveUpAfter(Scheduler::Duration patience, std::function<void()> giveUp)
    {
        if (IsUnderWay()) {
            limit_ = scheduler_.After(patience, [this, giveUp = std::move(giveUp)] {
                End(protocol::kStatusPeerUnreachable);
                giveUp();
            });
        }
    }

    void End(std::int32_t status)
    {
        limit_.Cancel();
        status_.Set(status);
    }

    /// For AwaitStatus; a copy outlives the attempt.
    Completion<std::int32_t> Status() const { return status_; }

  private:
    Scheduler& scheduler_;
    Completion<std::int32_t> status_;
    Timer limit_;
};

}  // namespace pelacon::service
