// Real radios, and simulated ones for the rest.
#pragma once

#include <service/linux/bluetooth/Radios.h>
#include <service/simulation/Simulation.h>

namespace pelacon::service {

/// Bluetooth is this machine's; Wi-Fi, the phone and errors are simulated. Targeted advertisements
/// have no radio: the world file's are received while the real adapter is on.
class MixedRadios : public radio::Radios {
  public:
    MixedRadios(Scheduler& scheduler, const simulation::WorldFile& world,
                linux_radios::bluetooth::Host& host);

    radio::Adapter& GetAdapter() override { return bluetooth_.GetAdapter(); }
    radio::Scanner& GetScanner() override { return bluetooth_.GetScanner(); }
    radio::Advertiser& GetAdvertiser() override { return bluetooth_.GetAdvertiser(); }
    radio::TargetAdvs& GetTargetAdvs() override { return targetAdvs_; }
    radio::GattClient& GetGattClient() override { return bluetooth_.GetGattClient(); }
    radio::GattServer& GetGattServer() override { return bluetooth_.GetGattServer(); }
    radio::Wifi& GetWifi() override { return simulation_.GetWifi(); }
    radio::Groups& GetGroups() override { return simulation_.GetGroups(); }
    radio::Groups& GetSoftAp() override { return simulation_.GetSoftAp(); }
    radio::Phone& GetPhone() override { return simulation_.GetPhone(); }
    radio::WifiCards& GetWifiCards() override { return simulation_.GetWifiCards(); }
    radio::Errors& GetErrors() override { return simulation_.GetErrors(); }

    bool IsKnown() const override { return host_.IsKnown(); }
    nlohmann::json Describe() const override;
    void AddCommands(Commands& commands) override
    {
        simulation_.AddCommandsOf(commands, {.bluetooth = false});
    }
    void Release() override { bluetooth_.Release(); }

  private:
    linux_radios::bluetooth::Host& host_;
    simulation::Simulation simulation_;
    linux_radios::bluetooth::Radios bluetooth_;
    simulation::TargetAdvs targetAdvs_;
};

}  // namespace pelacon::service
