// Real radios, and simulated ones for the rest.
#pragma once

#include <json/Output.h>
#include <service/linux/bluetooth/Radios.h>
#include <service/linux/wifi/Radios.h>
#include <service/simulation/Simulation.h>

#include <memory>

namespace pelacon::service {

/// Bluetooth, Wi-Fi, or both are this machine's; the phone and errors are simulated. Targeted
/// advertisements have no radio: the world file's are received while the adapter is on.
class MixedRadios : public radio::Radios {
  public:
    /// Null for a radio that is simulated.
    struct Hosts {
        linux_radios::bluetooth::Host* bluetooth = nullptr;
        linux_radios::wifi::Host* wifi = nullptr;
    };

    MixedRadios(Scheduler& scheduler, const simulation::WorldFile& world, const Hosts& hosts);

    radio::Adapter& GetAdapter() override
    {
        return bluetooth_ ? bluetooth_->GetAdapter() : simulation_.GetAdapter();
    }
    radio::Scanner& GetScanner() override
    {
        return bluetooth_ ? bluetooth_->GetScanner() : simulation_.GetScanner();
    }
    radio::Advertiser& GetAdvertiser() override
    {
        return bluetooth_ ? bluetooth_->GetAdvertiser() : simulation_.GetAdvertiser();
    }
    radio::TargetAdvs& GetTargetAdvs() override { return targetAdvs_; }
    radio::GattClient& GetGattClient() override
    {
        return bluetooth_ ? bluetooth_->GetGattClient() : simulation_.GetGattClient();
    }
    radio::GattServer& GetGattServer() override
    {
        return bluetooth_ ? bluetooth_->GetGattServer() : simulation_.GetGattServer();
    }
    radio::Wifi& GetWifi() override { return wifi_ ? wifi_->GetWifi() : simulation_.GetWifi(); }
    radio::Groups& GetGroups() override
    {
        return wifi_ ? wifi_->GetGroups() : simulation_.GetGroups();
    }
    radio::Groups& GetSoftAp() override
    {
        return wifi_ ? wifi_->GetSoftAp() : simulation_.GetSoftAp();
    }
    radio::Phone& GetPhone() override { return simulation_.GetPhone(); }
    radio::WifiCards& GetWifiCards() override
    {
        return wifi_ ? wifi_->GetWifiCards() : simulation_.GetWifiCards();
    }
    radio::Errors& GetErrors() override { return simulation_.GetErrors(); }

    bool IsKnown() const override;
    json::Output Describe() const override;
    void AddCommands(Commands& commands) override;
    void Release() override;

  private:
    Hosts hosts_;
    simulation::Simulation simulation_;
    std::unique_ptr<linux_radios::bluetooth::Radios> bluetooth_;  // null: simulated
    std::unique_ptr<linux_radios::wifi::Radios> wifi_;            // null: simulated
    simulation::TargetAdvs targetAdvs_;
};

}  // namespace pelacon::service
