// The Wi-Fi radios of one state of the service.
#pragma once

#include <service/linux/wifi/Groups.h>
#include <service/linux/wifi/Host.h>
#include <service/linux/wifi/Wifi.h>
#include <service/linux/wifi/WifiCards.h>

#include <memory>

namespace pelacon::service::linux_radios::wifi {

/// Created, used and destroyed with the scheduler's lock held.
class Radios : private Host::Observer {
  public:
    /// The host's other radios, if there were any, have been released.
    explicit Radios(Host& host) : host_(host) { host_.SetObserver(this); }
    ~Radios() override { Release(); }

    radio::Wifi& GetWifi() noexcept { return wifi_; }
    radio::WifiCards& GetWifiCards() noexcept { return cards_; }
    radio::Groups& GetGroups() noexcept { return groups_; }
    radio::Groups& GetSoftAp() noexcept { return softAp_; }

    /// As radio::Radios has it.
    void Release();

  private:
    void PictureChanged(const Picture& before) override;
    void AccessPointHeard(AccessPointRole role, const AccessPointEvent& event) override;

    Host& host_;
    std::shared_ptr<Gate> gate_ = host_.MakeGate();
    Wifi wifi_{host_, gate_};
    WifiCards cards_{host_};
    Groups groups_{host_, gate_, AccessPointRole::kGroup};
    Groups softAp_{host_, gate_, AccessPointRole::kSoftAp};
    bool isReleased_ = false;
};

}  // namespace pelacon::service::linux_radios::wifi
