#include <protocol/Catalogue.h>
#include <service/base/Log.h>
#include <service/simulation/Simulation.h>

#include <fuzz/Input.h>
#include <fuzz/service/WholeService.h>

#include <utility>

namespace pelacon::fuzz {

namespace {

service::Settings SettingsWithoutDelays()
{
    using namespace std::chrono_literals;
    namespace simulation = service::simulation;
    simulation::WorldFile world =
        simulation::ReadWorldFile(simulation::DefaultWorldText(), "default-world.json");
    world.wifi.switchDelay = 0ms;
    for (simulation::GroupConfig* group : {&world.group, &world.softAp}) {
        group->creation.delay = 0ms;
        group->firstCreations.clear();
        group->removeDelay = 0ms;
    }
    service::Settings settings;
    settings.makeRadios = simulation::SimulationOf(std::move(world));
    return settings;
}

}  // namespace

bool AnyTransport::Notify(std::uint64_t clientId, std::int32_t messageId,
                          std::span<const std::uint8_t> payload, Urgency /*urgency*/)
{
    Require(clientId == 1 || clientId == 2);
    Consume(payload.data(), payload.size());
    const auto* const entry = protocol::FindNotification(messageId);
    Require(entry == nullptr || entry->size == payload.size());
    return true;
}

WholeService::WholeService() : core(SettingsWithoutDelays())
{
    service::log::wantedLevel = service::LogLevel::kError;
    core.Start(transport_, folder_.File("ids"));
}

WholeService& WholeService::Restarted()
{
    static WholeService service;
    service.core.ClientLeft(1);
    service.core.ClientLeft(2);
    service.core.Control("fault.clear");
    service.core.Control("restart");
    service.core.ClientArrived({1, 1, false});
    service.core.ClientArrived({2, 2, true});
    return service;
}

}  // namespace pelacon::fuzz
