// One client program of the service.
#pragma once

#include <protocol/Operation.h>
#include <service/base/Scheduler.h>
#include <service/base/Transport.h>
#include <service/core/Wire.h>

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace pelacon::service {

/// A client, from its first message or its arrival until its event connection is gone. Used under
/// the world's lock. Families may keep a pointer to it until Family::ClientLeft has returned.
class Session {
  public:
    Session(Scheduler& scheduler, Transport& transport, std::uint64_t clientId,
            std::uint32_t processId)
        : scheduler_(scheduler), transport_(transport), clientId_(clientId), processId_(processId)
    {}

    std::uint64_t ClientId() const noexcept { return clientId_; }

    /// As the kernel knows it; 0 while the client has not arrived.
    std::uint32_t ProcessId() const noexcept { return processId_; }

    /// Whether the client is still there, as far as the service has been told.
    bool IsPresent() const noexcept { return present_; }

    /// Most notifications that are kept for a client that has not arrived.
    static constexpr std::size_t kMostHeld = 256;

    /// Sends a notification; false when the client has no event connection. Never blocks. One for a
    /// client that has not arrived yet is kept until it does, unless it may be dropped: a client
    /// that comes back may ask for something before its event connection is up again.
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
    bool Notify(const protocol::Notification<protocol::Bytes>& notification, ByteView payload,
                Transport::Urgency urgency = Transport::Urgency::kKept)
    {
        return Notify(notification.id, payload, urgency);
    }
    bool Notify(std::int32_t messageId, std::span<const std::uint8_t> payload,
                Transport::Urgency urgency);

    /// Has a request's handler wait, without the world's lock. False when there is no point in
    /// going on: the client left, or the service ends or restarts. Then the handler returns at once
    /// and touches nothing of the family's.
    [[nodiscard]] bool WaitFor(Scheduler::Duration time);

    /// Waits for a result; nothing when it did not come within the limit, or there is no point in
    /// going on (see WaitFor; IsPresent tells the two apart).
    template <typename Result>
    [[nodiscard]] std::optional<Result> Await(const Completion<Result>& completion,
                                              Scheduler::Duration limit)
    {
        scheduler_.Wait(limit, [&] { return !present_ || completion.Get().has_value(); });
        return GoesOn() ? completion.Get() : std::nullopt;
    }

    /// For the core: the client's event connection is up; the client is gone.
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

}  // namespace pelacon::service
