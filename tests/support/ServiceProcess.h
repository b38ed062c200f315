// The real service, as a process.
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

/// PelaconService, run from the stage, on a pipe that only this test program and the programs that
/// it starts can find. It is ready after the constructor and killed by the destructor.
class ServiceProcess {
  public:
    /// With this world, or the built-in one; this program, or the one in the stage; and more
    /// options.
    explicit ServiceProcess(std::optional<std::string> world = std::nullopt,
                            std::string program = ServicePath(),
                            std::vector<std::string> options = {});
    ~ServiceProcess();

    ServiceProcess(const ServiceProcess&) = delete;
    ServiceProcess& operator=(const ServiceProcess&) = delete;

    /// Ends it as a system that shuts down does, and waits for its end.
    void End();

    /// Ends it as a crash does.
    void Kill();

    /// Starts another one after End or Kill, with the same world.
    void Start();

    /// Ends it and starts another one in its place.
    void Restart();

    /// Sends an operator's command, which must succeed, and returns the answer.
    nlohmann::json Command(const nlohmann::json& command) const;

  private:
    std::string program_;
    std::vector<std::string> options_;
    std::optional<std::string> worldFile_;
    std::optional<ChildProcess> process_;
};

/// Runs a pelaconctl command, which must end by itself.
struct CommandResult {
    int exitCode;
    std::string output;
    std::string errors;
};
CommandResult Pelaconctl(const std::vector<std::string>& arguments);

/// The path of pelaconctl, for commands that run until they are ended.
const std::string& PelaconctlPath();

}  // namespace pelacon::test
