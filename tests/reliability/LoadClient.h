// A client that calls the service without a pause.
#pragma once

#include <tests/support/ChildProcess.h>
#include <tests/support/TimeLimit.h>

#include <nlohmann/json.hpp>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace pelacon::test {

/// LoadProgram.cpp, or another program with the same commands, as a process; killed by the
/// destructor.
class LoadClient {
  public:
    explicit LoadClient(const std::string& program = PELACON_LOAD_PROGRAM,
                        std::vector<std::string> environment = {});

    /// Waits until it is started.
    bool IsReady();

    std::uint32_t Id() const { return process_.Id(); }

    /// The beginning of a scan result for its listener, in hexadecimal.
    std::string ScanResult() const;

    /// Waits for this line, after those that were read before.
    bool Writes(const std::string& expected, std::chrono::milliseconds patience = kPatience);

    /// Waits for a line that begins with one of these words; nothing when the program ends before
    /// that, or writes nothing for so long.
    std::optional<std::string> LineOf(const std::vector<std::string>& words,
                                      std::chrono::milliseconds patience = kPatience);

    /// Gives it a command.
    void Tell(const std::string& command) { process_.Write(command); }

    /// What has happened so far.
    nlohmann::json Report();

    /// A report in words: what has happened since the one before, and the time since `begin`.
    std::string Progress(std::chrono::steady_clock::time_point begin, const nlohmann::json& report);

    void Kill();

    /// Stops the library in it, and ends it. Returns its exit code.
    int End();

  private:
    ChildProcess process_;
    std::int32_t listener_ = 0;
    nlohmann::json last_ = nlohmann::json::object();  // what Progress was given
};

/// Expects that no call of the report took longer than its time-out and 100 ms, apart from the
/// delays of wake-ups, which are measured until then.
void ExpectInTime(const nlohmann::json& report, WakeUps& wakeUps);

}  // namespace pelacon::test
