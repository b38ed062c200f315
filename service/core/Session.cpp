#include <service/core/Session.h>
#include <service/core/Trace.h>

#include <algorithm>
#include <chrono>
#include <utility>

namespace pelacon::service {

bool Session::Notify(std::int32_t messageId, std::span<const std::uint8_t> payload,
                     Transport::Urgency urgency)
{
    if (!present_) {
        return false;
    }
    if (!arrived_) {
        if (urgency == Transport::Urgency::kDroppable || held_.size() >= kMostHeld) {
            return false;
        }
        held_.push_back({messageId, Bytes(payload.begin(), payload.end())});
        return true;
    }
    const bool sent = transport_.Notify(clientId_, messageId, payload, urgency);
    TraceNotification(clientId_, messageId, payload, sent);
    return sent;
}

void Session::Arrive(std::uint32_t processId)
{
    processId_ = processId;
    arrived_ = true;
    for (const Held& notification : std::exchange(held_, {})) {
        Notify(notification.messageId, notification.payload, Transport::Urgency::kKept);
    }
}

bool Session::WaitFor(Scheduler::Duration time)
{
    // ClientLeft is not called while a post of the client is handled, so this looks at the
    // connection itself.
    constexpr std::chrono::milliseconds kLookAgain{250};
    const auto end = Scheduler::Clock::now() + time;
    for (auto left = time; left > Scheduler::Duration::zero();
         left = end - Scheduler::Clock::now()) {
        scheduler_.Wait(std::min<Scheduler::Duration>(left, kLookAgain),
                        [this] { return !present_; });
        if (!GoesOn() || (arrived_ && !transport_.IsConnected(clientId_))) {
            return false;
        }
    }
    return GoesOn();
}

void Session::End()
{
    present_ = false;
    scheduler_.Wake();
}

}  // namespace pelacon::service
