// What the channel's tests need of the operating system.
#pragma once

#include <cstddef>
#include <cstdint>

namespace pelacon::test {

/// Descriptors or handles that this process has open.
std::size_t OpenDescriptors();

/// Threads of this process.
std::size_t RunningThreads();

/// Has a process stand still, as in a debugger, until it is told to go on.
void SuspendProcess(std::uint32_t processId);
void ResumeProcess(std::uint32_t processId);

}  // namespace pelacon::test
