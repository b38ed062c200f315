// The soft AP: its life, its adapter, its channel, and who hears of it.
#pragma once

#include <protocol/SoftAp.h>
#include <protocol/WifiChannels.h>
#include <service/Family.h>
#include <service/families/PairedPhone.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace pelacon::service {

class SoftApFamily : public Family {
  public:
    explicit SoftApFamily(const Context& context);

    void ClientLeft(Session& session) override;
    void Describe(nlohmann::json& status) const override;

  private:
    void ServeLife(Router& router);
    void ServeQuestions(Router& router);
    void ServeAdapter(Router& router);
    void ServeDevices(Router& router);
    void ServeListeners(Router& router);
    // In SoftApChannels.cpp:
    void ServePhone(Router& router);
    void ServeChannels(Router& router);
    void ServeBands(Router& router);

    protocol::SoftApInfoMessage Create(Session& session,
                                       const protocol::SoftApInfoMessage& request);
    std::int32_t Destroy(Session& session, std::int32_t purpose);
    bool RestartAdapter(Session& session, bool afterWakeUp);
    std::int32_t WaitFor(Session& session, const std::function<void(radio::Groups::Done)>& begin);
    radio::Groups::Done Noting(radio::Groups::Done done);
    protocol::SoftApInfoMessage Info(std::int32_t errorCode) const;
    std::int32_t Channel() const { return ap_.Describe().channel; }
    void DrawName();

    std::int32_t ChannelFor(radio::Band band) const;
    std::int32_t MoveTo(radio::Band band);
    protocol::PcChannelsReply PcChannels() const;

    void TellAdvertisement();
    void TellStation(bool joined);

    World& world_;
    radio::Wifi& wifi_;
    radio::WifiCards& cards_;
    radio::Groups& ap_;
    PairedPhone phone_;
    std::vector<std::string> productTypes_;

    std::int32_t purpose_ = 0;  // what the soft AP was created for
    std::int32_t lastError_ = 0;
    std::int32_t advertisedChannel_ = 0;  // as it was told last; 0: not advertised
    bool restartHotspot_ = false;
    bool missed5GHz_ = false;  // the last wish for the band came to nothing
    bool avoid5GHz_ = false;
    std::uint32_t restarts_ = 0;
    std::uint32_t wakeUpRestarts_ = 0;

    std::unordered_set<Session*> connectionListeners_;
    std::unordered_set<Session*> listeners_;
};

}  // namespace pelacon::service
