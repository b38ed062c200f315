// The clients of one run of the service.
#pragma once

#include <service/core/Family.h>
#include <service/core/Session.h>

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

namespace pelacon::service {

/// All sessions. Calls the families when clients arrive and leave. Used with the scheduler's lock
/// held.
class Sessions {
  public:
    static constexpr std::chrono::seconds kGrace{60};

    using Families = std::vector<std::unique_ptr<Family>>;

    /// A client that has not arrived is removed when it has made no request for this grace period.
    Sessions(Scheduler& scheduler, Transport& transport, const Families& families,
             Scheduler::Duration grace = kGrace)
        : scheduler_(scheduler), transport_(transport), families_(families), grace_(grace)
    {}

    /// Greets the client if it returns, and calls the families.
    void Arrive(const IPCClientInfo& client);

    void Leave(std::uint64_t clientId);

    /// Ends all sessions without calling the families, which end, too.
    void EndAll();

    /// The client's session; a new one for a request before the client's arrival.
    std::shared_ptr<Session> Of(std::uint64_t clientId);

    /// The session of a client that has arrived; null for others.
    Session* Find(std::uint64_t clientId) const;

    /// All clients that have arrived, in the order of their ids.
    std::vector<std::shared_ptr<Session>> Present() const;

  private:
    struct Entry {
        std::shared_ptr<Session> session;
        bool arrived = false;
        Timer grace;
    };

    Scheduler& scheduler_;
    Transport& transport_;
    const Families& families_;
    const Scheduler::Duration grace_;
    std::unordered_map<std::uint64_t, Entry> entries_;
};

}  // namespace pelacon::service
