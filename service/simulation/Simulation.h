// The simulated radios.
#pragma once

#include <json/Output.h>
#include <service/base/Scheduler.h>
#include <service/radio/Radios.h>
#include <service/simulation/Adapter.h>
#include <service/simulation/Advertiser.h>
#include <service/simulation/Air.h>
#include <service/simulation/Errors.h>
#include <service/simulation/GattClient.h>
#include <service/simulation/GattPeripheral.h>
#include <service/simulation/GattServer.h>
#include <service/simulation/Groups.h>
#include <service/simulation/Peripheral.h>
#include <service/simulation/Phone.h>
#include <service/simulation/Scanner.h>
#include <service/simulation/Stack.h>
#include <service/simulation/TargetAdvs.h>
#include <service/simulation/Wifi.h>
#include <service/simulation/WifiCards.h>
#include <service/simulation/WorldFile.h>

#include <list>

namespace pelacon::service::simulation {

/// All simulated radios of a world file.
class Simulation : public radio::Radios {
  public:
    Simulation(Scheduler& scheduler, const WorldFile& file);

    Adapter& GetAdapter() override { return adapter_; }
    Scanner& GetScanner() override { return scanner_; }
    Advertiser& GetAdvertiser() override { return advertiser_; }
    TargetAdvs& GetTargetAdvs() override { return targetAdvs_; }
    GattClient& GetGattClient() override { return gattClient_; }
    GattServer& GetGattServer() override { return gattServer_; }
    Wifi& GetWifi() override { return wifi_; }
    Groups& GetGroups() override { return groups_; }
    Groups& GetSoftAp() override { return softAp_; }
    Phone& GetPhone() override { return phone_; }
    WifiCards& GetWifiCards() override { return wifiCards_; }
    Errors& GetErrors() override { return errors_; }
    json::Output Describe() const override;
    void AddCommands(Commands& commands) override { AddCommandsOf(commands, {}); }

    /// Which of the simulated radios programs use. The phone is always one of them.
    struct Parts {
        bool bluetooth = true;
        bool wifi = true;
    };

    /// Those that act on these radios only.
    void AddCommandsOf(Commands& commands, Parts parts);

  private:
    Stack stack_;
    Adapter adapter_;
    Air air_;
    Scanner scanner_;
    Advertiser advertiser_;
    TargetAdvs targetAdvs_;
    std::list<Peripheral> peripherals_;
    std::list<GattPeripheral> gattPeripherals_;
    GattClient gattClient_;
    GattServer gattServer_;
    Wifi wifi_;
    Groups groups_;
    Groups softAp_;
    Phone phone_;
    WifiCards wifiCards_;
    Errors errors_;
};

/// A factory of simulations of this world file.
radio::Factory SimulationOf(WorldFile file);

}  // namespace pelacon::service::simulation
