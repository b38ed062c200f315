// What the channel's tests need of the operating system.
#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace pelacon::test {

/// Makes a folder of its own for the pipes of this process, and of those that it starts, as long as
/// it lives.
class RuntimeFolder {
  public:
    RuntimeFolder();
    ~RuntimeFolder();
    RuntimeFolder(const RuntimeFolder&) = delete;
    RuntimeFolder& operator=(const RuntimeFolder&) = delete;

    const std::filesystem::path& Path() const { return path_; }

  private:
    std::filesystem::path path_;
};

/// Descriptors or handles that this process has open.
std::size_t OpenDescriptors();

/// Threads of this process.
std::size_t RunningThreads();

/// A program with a part to play at the other end of a pipe, or at this end in a process of its
/// own.
class PeerProcess {
  public:
    /// Starts it; see peer/main.cpp for the roles.
    explicit PeerProcess(const std::string& role, const std::vector<std::string>& arguments = {});

    /// Kills it if it still runs.
    ~PeerProcess();

    PeerProcess(const PeerProcess&) = delete;
    PeerProcess& operator=(const PeerProcess&) = delete;

    /// The next line that it writes; throws when it ended, or does not write for long.
    std::string ReadLine();

    /// Lets it end by itself, as a role does when its input ends.
    void CloseInput();

    void Kill();

    /// The exit code, or the negative number of the signal that ended it. Throws when it does not
    /// end.
    int WaitForExit();

    unsigned Id() const;

    /// Stands still until told to go on, as a process does in a debugger.
    void Suspend();
    void Resume();

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace pelacon::test
