#include <protocol/ServiceLink.h>
#include <service/base/Log.h>
#include <service/core/Sessions.h>

#include <algorithm>
#include <utility>

namespace pelacon::service {

void Sessions::Arrive(const IPCClientInfo& client)
{
    log::Info("client ", client.id, " (process ", client.processId, ") ",
              client.returning ? "returned" : "arrived");
    const std::shared_ptr<Session> session = Of(client.id);
    Entry& entry = entries_.at(client.id);
    entry.arrived = true;
    entry.grace.Cancel();
    session->Arrive(client.processId);
    if (client.returning) {
        session->Notify(protocol::kServiceStarted);
    }
    for (const auto& family : families_) {
        family->ClientArrived(*session, client.returning);
    }
}

void Sessions::Leave(std::uint64_t clientId)
{
    const auto found = entries_.find(clientId);
    if (found == entries_.end()) {
        return;
    }
    log::Info("client ", clientId, " left");
    const Entry entry = std::move(found->second);
    entries_.erase(found);
    entry.session->End();
    for (const auto& family : families_) {
        family->ClientLeft(*entry.session);
    }
}

void Sessions::EndAll()
{
    for (const auto& [id, entry] : entries_) {
        entry.session->End();
    }
}

std::shared_ptr<Session> Sessions::Of(std::uint64_t clientId)
{
    auto found = entries_.find(clientId);
    if (found == entries_.end()) {
        Entry entry{std::make_shared<Session>(scheduler_, transport_, clientId, 0), false, {}};
        found = entries_.emplace(clientId, std::move(entry)).first;
    }
    if (!found->second.arrived) {
        found->second.grace = scheduler_.After(grace_, [this, clientId] { Leave(clientId); });
    }
    return found->second.session;
}

Session* Sessions::Find(std::uint64_t clientId) const
{
    const auto found = entries_.find(clientId);
    return found != entries_.end() && found->second.arrived ? found->second.session.get() : nullptr;
}

std::vector<std::shared_ptr<Session>> Sessions::Present() const
{
    std::vector<std::shared_ptr<Session>> sessions;
    for (const auto& [id, entry] : entries_) {
        if (entry.arrived) {
            sessions.push_back(entry.session);
        }
    }
    std::sort(sessions.begin(), sessions.end(), [](const auto& one, const auto& other) {
        return one->ClientId() < other->ClientId();
    });
    return sessions;
}

}  // namespace pelacon::service
