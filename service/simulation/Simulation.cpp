#include <service/simulation/Simulation.h>

#include <utility>

namespace pelacon::service::simulation {

Simulation::Simulation(Scheduler& scheduler, const WorldFile& file)
    : stack_(file.stack),
      adapter_(scheduler, stack_, file.adapter),
      air_(scheduler),
      scanner_(scheduler, stack_, adapter_, air_),
      advertiser_(scheduler, stack_, adapter_, air_),
      targetAdvs_(scheduler, adapter_, file.targetAdvs),
      gattClient_(scheduler, adapter_, file.gatt),
      gattServer_(scheduler, stack_, adapter_, file.gatt),
      wifi_(scheduler, stack_, file.wifi),
      groups_(scheduler, stack_, wifi_, file.group, file.wifiCards),
      softAp_(scheduler, stack_, wifi_, file.softAp, file.wifiCards),
      phone_(scheduler, file.phone),
      wifiCards_(wifi_, file.wifiCards),
      errors_(scheduler, file.errors)
{
    for (const PeripheralConfig& config : file.peripherals) {
        Peripheral& peripheral = peripherals_.emplace_back(scheduler, air_, config);
        GattPeripheral& gatt = gattPeripherals_.emplace_back(scheduler, adapter_, peripheral);
        gattClient_.AddDevice(config.address, gatt);
    }
    gattClient_.AddDevice(adapter_.Address(), gattServer_);
}

json::Output Simulation::Describe() const
{
    return {{"bluetooth", {{"kind", "simulated"}}}, {"wifi", {{"kind", "simulated"}}}};
}

radio::Factory SimulationOf(WorldFile file)
{
    return [file = std::move(file)](Scheduler& scheduler, const std::string& /*stateFile*/) {
        return std::make_unique<Simulation>(scheduler, file);
    };
}

}  // namespace pelacon::service::simulation
