// The soft AP: making and removing it, its adapter, its channel, and notifications of all that.
#pragma once

#include <protocol/SoftAp.h>
#include <protocol/WifiChannels.h>
#include <service/core/Family.h>
#include <service/families/PairedPhone.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace pelacon::service {

class SoftApFamily : public Family {
  public:
    explicit SoftApFamily(const Context& context);

    void ClientArrived(Session& session, bool returning) override;
    void ClientLeft(Session& session) override;
    void Describe(json::Output& status) const override;

  private:
    void ServeLife(Router& router);
    void ServeQuestions(Router& router);
    void ServeAdapter(Router& router);
    void ServeDevices(Router& router);
    // In SoftApChannels.cpp:
    void ServePhone(Router& router);
    void ServeChannels(Router& router);

    std::optional<protocol::SoftApInfoMessage> Create(Session& session,
                                                      const protocol::SoftApInfoMessage& request);
    std::optional<std::int32_t> Destroy(Session& session, const protocol::Int32Record& request);
    std::optional<bool> RestartAdapter(Session& session, const protocol::FlagRequest& afterWakeUp);
    radio::Groups::Done Noting(radio::Groups::Done done);
    protocol::SoftApInfoMessage Info(std::int32_t errorCode) const;
    std::int32_t Channel() const { return ap_.Describe().channel; }
    void DrawName();

    std::int32_t ChannelFor(radio::Band band) const;
    std::optional<std::int32_t> MoveTo(Session& session, radio::Band band);
    protocol::PcChannelsReply PcChannels() const;

    protocol::SoftApAdvertisement Advertisement(std::uint32_t status) const;
    void NotifyAdvertisement();
    void NotifyStation(bool joined);

    Scheduler& scheduler_;
    radio::Wifi& wifi_;
    radio::Groups& ap_;
    PairedPhone phone_;
    std::vector<std::string> productTypes_;

    std::int32_t purpose_ = 0;  // what the soft AP was created for
    std::int32_t lastError_ = 0;
    std::int32_t advertisedChannel_ = 0;  // as it was notified last; 0: not advertised
    bool restartHotspot_ = false;
    bool missed5GHz_ = false;  // the last request for the band found no channel
    bool avoid5GHz_ = false;
    std::int32_t restarts_ = 0;
    std::int32_t wakeUpRestarts_ = 0;

    Listeners clients_;              // notified of connections
    Listeners connectionListeners_;  // those that have registered for them
    Listeners listeners_;
};

}  // namespace pelacon::service
