#include <service/base/Log.h>
#include <service/selection/MixedRadios.h>
#include <service/selection/RealRadios.h>

#include <memory>
#include <optional>
#include <utility>

namespace pelacon::service {

namespace {

/// The loop and all that lives in its thread, for all states of the service.
struct Engine {
    Engine(Scheduler& scheduler, const RadioChoice& choice, const std::string& stateFile)
    {
        if (choice.bluetooth.isReal) {
            linux_radios::bluetooth::KernelAccess kernel;
            kernel.itemsFile = stateFile.empty() ? "" : stateFile + ".kernel";
            using linux_radios::bluetooth::Pairing;
            bluetooth.emplace(loop, scheduler, choice.bluetooth.adapter, kernel,
                              choice.pairs ? Pairing::kByUs : Pairing::kByOthers);
        }
        if (choice.wifi.isReal) {
            linux_radios::wifi::KernelAccess kernel;
            kernel.accessPoints.folder = stateFile.empty() ? "" : stateFile + ".access-points";
            kernel.accessPoints.account = linux_radios::FindServiceAccount();
            wifi.emplace(loop, scheduler, choice.wifi.adapter, kernel);
        }
    }

    MixedRadios::Hosts Hosts()
    {
        return {bluetooth ? &*bluetooth : nullptr, wifi ? &*wifi : nullptr};
    }

    linux_radios::Loop loop{
        [](std::string_view what) { log::Error("the radios' thread: ", what); }};
    std::optional<linux_radios::bluetooth::Host> bluetooth;
    std::optional<linux_radios::wifi::Host> wifi;
};

}  // namespace

std::string WhyNotUsable(const RadioChoice& /*choice*/)
{
    return "";
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
        return std::make_unique<MixedRadios>(scheduler, world, (*engine)->Hosts());
    };
}

}  // namespace pelacon::service
