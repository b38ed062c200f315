// Wi-Fi Direct groups: creation, removal, and notifications.
#pragma once

#include <protocol/Vod2dGroup.h>
#include <service/core/Family.h>

#include <cstdint>
#include <optional>
#include <unordered_map>

namespace pelacon::service {

class GroupFamily : public Family {
  public:
    explicit GroupFamily(const Context& context);

    void ClientArrived(Session& session, bool returning) override;
    void ClientLeft(Session& session) override;
    void Describe(json::Output& status) const override;

  private:
    void ServeLife(Router& router);
    void ServeQuestions(Router& router);
    void ServeSharedLink(Router& router);

    std::optional<protocol::GroupInfoReply> Create(Session& session,
                                                   const protocol::CreateGroupRequest& request);
    std::optional<std::int32_t> Remove(Session& session);
    std::int32_t ChooseChannel(std::int32_t requested) const;
    bool IsUsedByOthers(const Session& session) const;
    protocol::GroupInfo Info() const;
    protocol::ChannelListReply ChannelList() const;
    std::int32_t Frequency() const;

    Scheduler& scheduler_;
    radio::Wifi& wifi_;
    radio::Groups& groups_;
    Listeners listeners_;  // clients that are notified of changes
    std::unordered_map<Session*, std::int32_t> sharedLinks_;
};

}  // namespace pelacon::service
