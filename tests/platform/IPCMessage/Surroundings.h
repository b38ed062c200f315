// Functions of the operating system for the channel's tests.
#pragma once

#include <cstddef>
#include <cstdint>

namespace pelacon::test {

/// Descriptors or handles that this process has open.
std::size_t OpenDescriptors();

/// Threads of this process.
std::size_t RunningThreads();

/// Suspends a process, as a debugger does, until it is resumed.
void SuspendProcess(std::uint32_t processId);
void ResumeProcess(std::uint32_t processId);

}  // namespace pelacon::test
