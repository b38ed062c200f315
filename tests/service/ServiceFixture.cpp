#include <IPCMessage/IPCControl.h>
#include <os/Processes.h>
#include <service/base/Log.h>
#include <service/simulation/Simulation.h>
#include <tests/service/ServiceFixture.h>
#include <tests/support/RuntimeFolder.h>

#include <atomic>
#include <utility>

namespace pelacon::service::tests {

namespace {

std::wstring UniquePipeName()
{
    static std::atomic<int> last{0};
    return L"\\\\.\\Pipe\\PelaconTest" + std::to_wstring(os::CurrentProcessId()) + L"-" +
           std::to_wstring(++last);
}

}  // namespace

ServiceTest::ServiceTest() : pipeName_(UniquePipeName())
{
    test::UseOwnRuntimeFolder();
    log::wantedLevel = LogLevel::kError;
}

void ServiceTest::StartService(const std::string& world, std::uint64_t seed)
{
    Settings settings;
    simulation::WorldFile file = simulation::ReadWorldFile(world, "world.json");
    settings.faults = file.faults;
    settings.makeRadios = simulation::SimulationOf(std::move(file));
    settings.worldName = "world.json";
    settings.seed = seed;
    service_.emplace(pipeName_, std::move(settings));
}

void ServiceTest::StartService(radio::Factory makeRadios)
{
    Settings settings;
    settings.makeRadios = std::move(makeRadios);
    service_.emplace(pipeName_, std::move(settings));
}

nlohmann::json ServiceTest::Command(const nlohmann::json& command)
{
    nlohmann::json answer = CommandText(command.dump());
    EXPECT_EQ(answer.value("ok", false), true) << command << " -> " << answer;
    return answer;
}

nlohmann::json ServiceTest::CommandText(const std::string& command)
{
    IPCControlError error{};
    const auto answer = IPCSendControl(pipeName_, command, kPatience, error);
    if (!answer) {
        throw std::runtime_error("no answer to a command: " + error.message);
    }
    return nlohmann::json::parse(*answer);
}

}  // namespace pelacon::service::tests
