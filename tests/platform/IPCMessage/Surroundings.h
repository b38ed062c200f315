// What the channel's tests need of the operating system.
#pragma once

#include <tests/support/TemporaryFolder.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>

namespace pelacon::test {

/// Makes a folder of its own for the pipes of this process, and of those that it starts, as long as
/// it lives.
class RuntimeFolder {
  public:
    RuntimeFolder();
    ~RuntimeFolder();
    RuntimeFolder(const RuntimeFolder&) = delete;
    RuntimeFolder& operator=(const RuntimeFolder&) = delete;

    const std::filesystem::path& Path() const { return folder_.Path(); }

  private:
    TemporaryFolder folder_;
};

/// Descriptors or handles that this process has open.
std::size_t OpenDescriptors();

/// Threads of this process.
std::size_t RunningThreads();

/// Has a process stand still, as in a debugger, until it is told to go on.
void SuspendProcess(std::uint32_t processId);
void ResumeProcess(std::uint32_t processId);

}  // namespace pelacon::test
