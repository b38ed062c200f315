// What fork leaves to a child: one thread, and memory as all the others had it at that moment.
#pragma once

#include <cstdint>

namespace pelacon::os {

/// A number from 1 on that no other running thread has. The forking thread keeps it in the child,
/// and none that the child starts gets a number that was ever used in a parent.
std::uint64_t ThisThread() noexcept;

/// Whether the thread with this number existed in a parent of this process and is not the one that
/// forked: in this process it will never run.
bool StayedBehind(std::uint64_t thread) noexcept;

/// Differs between a process and the children that fork makes of it.
std::uint32_t ForkGeneration() noexcept;

/// Delays every fork of the process while it exists: a change that is made meanwhile is, in a
/// child, either complete or not begun. Exists for a short time only: no waiting, no log line, no
/// code of the application. A thread may nest them.
class ForkHold {
  public:
    ForkHold() noexcept;
    ~ForkHold();  // NOLINT(performance-trivially-destructible): so on Windows only
    ForkHold(const ForkHold&) = delete;
    ForkHold& operator=(const ForkHold&) = delete;
};

}  // namespace pelacon::os
