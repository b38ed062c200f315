// What two devices exchange before a Wi-Fi Direct link: configurations, channels, card states.
#pragma once

#include <protocol/Vod2dConfig.h>
#include <service/core/Family.h>

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

namespace pelacon::service {

/// Applications on the same service are peers of each other: what one sets as its peer's
/// configuration is the own configuration of the others, and they are notified of it.
class WifiConfigFamily : public Family {
  public:
    explicit WifiConfigFamily(const Context& context);

    void ClientArrived(Session& session, bool returning) override;
    void ClientLeft(Session& session) override;
    void Describe(json::Output& status) const override;

  private:
    /// A configuration that an application has set.
    struct Setting {
        Session* setter;  // null once it has left
        std::int32_t type;
        Bytes blob;
        std::uint32_t processId = 0;  // of a setter that has left, and may return
    };

    protocol::SelfWifiCfgReply SelfConfiguration(const Session& session,
                                                 const protocol::Int32Record& request) const;
    std::int32_t SetPeerConfiguration(Session& session, const protocol::WifiCfg& request);
    std::int32_t AskForConnections(Session& session, protocol::ConnNotifyRequest request);
    protocol::RecommendChannelReply Recommend(ByteView request) const;
    std::int32_t SetScene(const protocol::UpperSceneRequest& request);
    protocol::InterfaceGuidReply Guid(std::string_view name) const;
    protocol::CardStateReply AskForCards(Session& session, const protocol::CardState& request);
    void ForgetSetter(const Session& session);
    Bytes DefaultConfiguration(std::int32_t type) const;
    std::span<const radio::CardState> Cards() const;
    const radio::WifiInterface* FindInterface(std::string_view name) const;

    void NotifyStation(const radio::Station& station, bool joined) const;
    void NotifyCard(std::size_t changed) const;

    radio::Wifi& wifi_;
    radio::WifiCards& cards_;
    std::vector<Setting> settings_;  // the latest last
    Listeners configurationListeners_;
    Listeners cardListeners_;
    std::unordered_map<Session*, protocol::ConnNotifyRequest> connectionListeners_;
    std::map<std::string, std::int32_t, std::less<>> scenes_;  // by interface
};

}  // namespace pelacon::service
