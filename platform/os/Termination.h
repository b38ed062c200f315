// How a program learns that it should end.
#pragma once

#include <functional>

namespace pelacon::os {

/// Runs the action, on an ordinary thread of its own, each time the user interrupts the program
/// (Ctrl-C), which then no longer ends by itself. A program that was started with interrupts
/// ignored goes on ignoring them. To be called once, before any other thread is started.
void OnInterrupt(std::function<void()> action);

/// From its construction on, the wish to end the program (SIGTERM, SIGINT or SIGHUP; Ctrl-C, a
/// closed console or the system's shutdown) no longer ends it at once, but is kept for Wait. To be
/// made before any other thread is started. Also has writing to a closed pipe fail like any other
/// write, rather than end the program.
class Termination {
  public:
    Termination();
    ~Termination() = default;
    Termination(const Termination&) = delete;
    Termination& operator=(const Termination&) = delete;

    /// Waits for the wish. Returns what it was, for people ("SIGTERM").
    const char* Wait();
};

}  // namespace pelacon::os
