#include <service/MixedRadios.h>
#include <service/RealRadios.h>
#include <service/base/Log.h>

#include <memory>
#include <utility>

namespace pelacon::service {

namespace {

/// The loop and all that lives in its thread, for all states of the service.
struct Engine {
    Engine(Scheduler& scheduler, const RadioChoice& choice, const std::string& stateFile)
        : bluetooth(loop, scheduler, choice.bluetooth.adapter,
                    {.itemsFile = stateFile.empty() ? "" : stateFile + ".kernel"})
    {}

    linux_radios::Loop loop{
        [](std::string_view what) { log::Error("the radios' thread: ", what); }};
    linux_radios::bluetooth::Host bluetooth;
};

}  // namespace

std::string WhyNotUsable(const RadioChoice& choice)
{
    return choice.wifi.isReal ? "PelaconService has no real Wi-Fi yet: use wifi=simulated" : "";
}

radio::Factory MakeRadios(const RadioChoice& choice, simulation::WorldFile world)
{
    if (!choice.IsAnyReal()) {
        return simulation::SimulationOf(std::move(world));
    }
    // Created with the first radios, as it needs the scheduler, and shared by all copies.
    const auto engine = std::make_shared<std::unique_ptr<Engine>>();
    return [choice, world = std::move(world), engine](Scheduler& scheduler,
                                                      const std::string& stateFile) {
        if (!*engine) {
            *engine = std::make_unique<Engine>(scheduler, choice, stateFile);
        }
        return std::make_unique<MixedRadios>(scheduler, world, (*engine)->bluetooth);
    };
}

}  // namespace pelacon::service
