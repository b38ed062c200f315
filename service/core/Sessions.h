// The clients of one run of the service.
#pragma once

#include <service/core/Family.h>
#include <service/core/Session.h>

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

namespace pelacon::service {

/// All sessions, and the families that are told of them. Used under the world's lock.
class Sessions {
  public:
    static constexpr std::chrono::seconds kGrace{60};

    using Families = std::vector<std::unique_ptr<Family>>;

    /// A client that has not arrived is forgotten when it makes no request for as long as the
    /// grace.
    Sessions(Scheduler& scheduler, Transport& transport, const Families& families,
             Scheduler::Duration grace = kGrace)
        : scheduler_(scheduler), transport_(transport), families_(families), grace_(grace)
    {}

    /// Greets the client if it returns, and tells the families.
    void Arrive(const IPCClientInfo& client);

    void Leave(std::uint64_t clientId);

    /// Ends them all, without a word to the families: for those that end, too.
    void EndAll();

    /// The client's session; a new one where requests come before the client arrives.
    std::shared_ptr<Session> Of(std::uint64_t clientId);

    /// The session of a client that is there; null for others.
    Session* Find(std::uint64_t clientId) const;

    /// All clients that are there, in the order of their ids.
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
