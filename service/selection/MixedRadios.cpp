#include <service/selection/MixedRadios.h>

#include <utility>

namespace pelacon::service {

namespace {

/// What the simulation needs of a world. Targeted advertisements are received once.
simulation::WorldFile PartOf(simulation::WorldFile world, const MixedRadios::Hosts& hosts)
{
    world.targetAdvs.clear();
    if (hosts.bluetooth != nullptr) {
        world.peripherals.clear();
    }
    return world;
}

template <typename Radios, typename Host>
std::unique_ptr<Radios> RadiosOf(Host* host)
{
    return host != nullptr ? std::make_unique<Radios>(*host) : nullptr;
}

}  // namespace

MixedRadios::MixedRadios(Scheduler& scheduler, const simulation::WorldFile& world,
                         const Hosts& hosts)
    : hosts_(hosts),
      simulation_(scheduler, PartOf(world, hosts)),
      bluetooth_(RadiosOf<linux_radios::bluetooth::Radios>(hosts.bluetooth)),
      wifi_(RadiosOf<linux_radios::wifi::Radios>(hosts.wifi)),
      targetAdvs_(scheduler, MixedRadios::GetAdapter(), world.targetAdvs)
{}

bool MixedRadios::IsKnown() const
{
    return (hosts_.bluetooth == nullptr || hosts_.bluetooth->IsKnown()) &&
           (hosts_.wifi == nullptr || hosts_.wifi->IsKnown());
}

json::Output MixedRadios::Describe() const
{
    json::Output description = simulation_.Describe();
    if (hosts_.bluetooth != nullptr) {
        description["bluetooth"] = hosts_.bluetooth->Describe();
    }
    if (hosts_.wifi != nullptr) {
        description["wifi"] = hosts_.wifi->Describe();
    }
    return description;
}

void MixedRadios::AddCommands(Commands& commands)
{
    simulation_.AddCommandsOf(commands, {.bluetooth = !bluetooth_, .wifi = !wifi_});
}

void MixedRadios::Release()
{
    if (bluetooth_) {
        bluetooth_->Release();
    }
    if (wifi_) {
        wifi_->Release();
    }
}

}  // namespace pelacon::service
