// Wi-Fi Direct groups: creation, removal, and notifications.
#pragma once

#include <protocol/Vod2dConfig.h>
#include <protocol/Vod2dGroup.h>
#include <service/core/Family.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <unordered_map>
#include <unordered_set>

namespace pelacon::service {

class GroupFamily : public Family {
  public:
    explicit GroupFamily(const Context& context);

    void ClientArrived(Session& session, bool returning) override;
    void ClientLeft(Session& session) override;
    void Describe(nlohmann::json& status) const override;

  private:
    void ServeLife(Router& router);
    void ServeQuestions(Router& router);
    void ServeListeners(Router& router);
    void ServeSharedLink(Router& router);

    std::optional<protocol::GroupInfoReply> Create(Session& session, std::int32_t channel);
    std::optional<protocol::StatusReply> Remove(Session& session);
    std::int32_t ChooseChannel(std::int32_t wished) const;
    bool IsUsedByOthers(const Session& session) const;
    protocol::GroupInfo Info() const;
    protocol::ChannelListReply ChannelList() const;
    std::int32_t Frequency() const;

    void NotifyGroup(bool exists, radio::GroupOutcome reason) const;
    void NotifyStation(const radio::Station& station, bool joined) const;

    Scheduler& scheduler_;
    radio::Wifi& wifi_;
    radio::Groups& groups_;
    std::unordered_set<Session*> listeners_;  // clients that are notified of changes
    std::unordered_map<Session*, std::int32_t> sharedLinks_;
};

}  // namespace pelacon::service
