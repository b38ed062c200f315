// Radios of which a test replaces some.
#pragma once

#include <service/radio/Radios.h>
#include <service/simulation/Simulation.h>

#include <nlohmann/json.hpp>

namespace pelacon::service::tests {

/// The simulation of an empty world. A test's own radios derive from it.
class OtherRadios : public radio::Radios {
  public:
    explicit OtherRadios(Scheduler& scheduler) : simulation_(scheduler, simulation::WorldFile{}) {}

    radio::Adapter& GetAdapter() override { return simulation_.GetAdapter(); }
    radio::Scanner& GetScanner() override { return simulation_.GetScanner(); }
    radio::Advertiser& GetAdvertiser() override { return simulation_.GetAdvertiser(); }
    radio::TargetAdvs& GetTargetAdvs() override { return simulation_.GetTargetAdvs(); }
    radio::GattClient& GetGattClient() override { return simulation_.GetGattClient(); }
    radio::GattServer& GetGattServer() override { return simulation_.GetGattServer(); }
    radio::Wifi& GetWifi() override { return simulation_.GetWifi(); }
    radio::Groups& GetGroups() override { return simulation_.GetGroups(); }
    radio::Groups& GetSoftAp() override { return simulation_.GetSoftAp(); }
    radio::Phone& GetPhone() override { return simulation_.GetPhone(); }
    radio::WifiCards& GetWifiCards() override { return simulation_.GetWifiCards(); }
    radio::Errors& GetErrors() override { return simulation_.GetErrors(); }
    json::Output Describe() const override { return simulation_.Describe(); }

  private:
    simulation::Simulation simulation_;
};

}  // namespace pelacon::service::tests
