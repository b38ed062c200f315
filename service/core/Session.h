// One client program of the service.
#pragma once

#include <protocol/Operation.h>
#include <service/base/Scheduler.h>
#include <service/base/Transport.h>
#include <service/core/Wire.h>

#include <cstdint>
#include <optional>
#include <span>
#include <unordered_set>
#include <vector>

namespace pelacon::service {

/// A client, from its first message or its arrival until its event connection is closed. Used with
/// the scheduler's lock held. Families may keep a pointer to it until ClientLeft has returned.
class Session {
  public:
    Session(Scheduler& scheduler, Transport& transport, std::uint64_t clientId,
            std::uint32_t processId)
        : scheduler_(scheduler), transport_(transport), clientId_(clientId), processId_(processId)
    {}

    std::uint64_t ClientId() const noexcept { return clientId_; }

    /// From the kernel; 0 while the client has not arrived.
    std::uint32_t ProcessId() const noexcept { return processId_; }

    /// Whether the client has not left, as far as the core knows.
    bool IsPresent() const noexcept { return present_; }

    /// How many notifications are kept for a client that has not arrived.
    static constexpr std::size_t kMostHeld = 256;

    /// Sends a notification; false if the client has no event connection. Never blocks. For a
    /// client that has not arrived yet it is kept until the client does, unless it is droppable: a
    /// returning client may make requests before its event connection is up again.
    template <typename Record>
    bool Notify(const protocol::Notification<Record>& notification, const Record& record,
                Transport::Urgency urgency = Transport::Urgency::kKept)
    {
        return Notify(notification.id, AsBytes(record), urgency);
    }
    bool Notify(const protocol::Notification<protocol::Nothing>& notification)
    {
        return Notify(notification.id, {}, Transport::Urgency::kKept);
    }
    bool Notify(std::int32_t messageId, std::span<const std::uint8_t> payload,
                Transport::Urgency urgency);

    /// Waits in a request's handler, without the scheduler's lock. False if the client left, or the
    /// service ends or restarts: then the handler must return at once and not use its family.
    [[nodiscard]] bool WaitFor(Scheduler::Duration time);

    /// Waits for a result. Returns nothing if there was none within the limit, and where WaitFor
    /// returns false; IsPresent distinguishes the two.
    template <typename Result>
    [[nodiscard]] std::optional<Result> Await(const Completion<Result>& completion,
                                              Scheduler::Duration limit)
    {
        scheduler_.Wait(limit, [&] { return !present_ || completion.Get().has_value(); });
        return GoesOn() ? completion.Get() : std::nullopt;
    }

    /// For the core: the client's event connection is up; the client has left.
    void Arrive(std::uint32_t processId);
    void End();

  private:
    struct Held {
        std::int32_t messageId;
        Bytes payload;
    };

    bool GoesOn() const noexcept { return present_ && !scheduler_.IsStopping(); }

    Scheduler& scheduler_;
    Transport& transport_;
    std::uint64_t clientId_;
    std::uint32_t processId_;
    bool present_ = true;
    bool arrived_ = false;
    std::vector<Held> held_;
};

/// Clients that are notified of something.
using Listeners = std::unordered_set<Session*>;

template <typename Record>
void NotifyAll(const Listeners& listeners, const protocol::Notification<Record>& notification,
               const Record& record)
{
    for (Session* session : listeners) {
        session->Notify(notification, record);
    }
}

}  // namespace pelacon::service
