#include <IPCMessage/IPCControl.h>
#include <os/Processes.h>
#include <protocol/Operation.h>
#include <tests/support/RuntimeFolder.h>
#include <tests/support/ServiceProcess.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace pelacon::test {

namespace {

/// The library of this process, and of those that it starts, expects the service in the stage. The
/// first call must come before any thread is started; later calls do nothing.
void ExpectTheStagedService()
{
    static const bool isSet = [] {
        std::filesystem::path path = std::filesystem::absolute(ServicePath());
        SetVariable("PELACON_SERVICE_PATH", path.make_preferred().string());
        return true;
    }();
    static_cast<void>(isSet);
}

std::string WriteWorld(const std::string& world)
{
    const std::filesystem::path file =
        std::filesystem::temp_directory_path() /
        ("pelacon-world-" + std::to_string(os::CurrentProcessId()) + ".json");
    std::ofstream(file) << world;
    return file.string();
}

}  // namespace

ServiceProcess::ServiceProcess(std::optional<std::string> world, std::string program,
                               std::vector<std::string> options)
    : program_(std::move(program)), options_(std::move(options))
{
    UseOwnRuntimeFolder();
    ExpectTheStagedService();
    if (world) {
        worldFile_ = WriteWorld(*world);
    }
    Start();
}

ServiceProcess::~ServiceProcess()
{
    process_.reset();
    if (worldFile_) {
        std::error_code ignored;
        std::filesystem::remove(*worldFile_, ignored);
    }
}

void ServiceProcess::Start()
{
    std::vector<std::string> arguments{"--seed", "1"};
    arguments.insert(arguments.end(), options_.begin(), options_.end());
    if (worldFile_) {
        arguments.insert(arguments.end(), {"--world", *worldFile_});
    }
    process_.emplace(program_, arguments);
    const std::optional<std::string> line = process_->NextLine();
    if (!line || !line->starts_with("ready ")) {
        process_->Wait();
        throw std::runtime_error("the service does not start: " + process_->Errors());
    }
}

void ServiceProcess::End()
{
    process_->Terminate();
    EXPECT_EQ(process_->Wait(), 0) << process_->Errors();
}

void ServiceProcess::Kill()
{
    process_->Kill();
    process_->Wait();
}

void ServiceProcess::Restart()
{
    End();
    Start();
}

nlohmann::json ServiceProcess::Command(const nlohmann::json& command) const
{
    IPCControlError error{};
    const auto answer = IPCSendControl(protocol::kServicePipe, command.dump(), kPatience, error);
    if (!answer) {
        throw std::runtime_error("no answer to a command: " + error.message);
    }
    nlohmann::json fields = nlohmann::json::parse(*answer);
    EXPECT_EQ(fields.value("ok", false), true) << command << " -> " << fields;
    return fields;
}

CommandResult Pelaconctl(const std::vector<std::string>& arguments)
{
    ChildProcess process(PelaconctlPath(), arguments);
    const int exitCode = process.Wait();
    return {exitCode, process.Output(), process.Errors()};
}

const std::string& ServicePath()
{
    static const std::string path = PELACON_SERVICE_EXECUTABLE;
    return path;
}

const std::string& PelaconctlPath()
{
    static const std::string path = PELACON_CTL_EXECUTABLE;
    return path;
}

}  // namespace pelacon::test
