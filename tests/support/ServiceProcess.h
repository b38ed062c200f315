// The real service, as a process of its own.
#pragma once

#include <tests/support/ChildProcess.h>
#include <tests/support/Eventually.h>

#include <nlohmann/json_fwd.hpp>

#include <optional>
#include <string>
#include <vector>

namespace pelacon::test {

/// The service's program in the stage.
const std::string& ServicePath();

/// PelaconService, run from the stage, on a pipe that only this test program and what it starts
/// can find. Ready when constructed; ended with this.
class ServiceProcess {
  public:
    /// With this world, or the built-in one; this program, or the one in the stage.
    explicit ServiceProcess(std::optional<std::string> world = std::nullopt,
                            std::string program = ServicePath());
    ~ServiceProcess();

    ServiceProcess(const ServiceProcess&) = delete;
    ServiceProcess& operator=(const ServiceProcess&) = delete;

    /// Ends it as a system that shuts down does, and waits until it has ended.
    void End();

    /// Starts another one after End, with the same world.
    void Start();

    /// Ends it and starts another one in its place.
    void Restart();

    /// Has it do something, as its operator, and returns its answer.
    nlohmann::json Command(const nlohmann::json& command) const;

  private:
    std::string program_;
    std::optional<std::string> worldFile_;
    std::optional<ChildProcess> process_;
};

/// Runs a pelaconctl command to its end; for ones that end by themselves.
struct CommandResult {
    int exitCode;
    std::string output;
    std::string errors;
};
CommandResult Pelaconctl(const std::vector<std::string>& arguments);

/// The program's path, for those that are to run for a while.
const std::string& PelaconctlPath();

}  // namespace pelacon::test
