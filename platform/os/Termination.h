// Requests to end a program or to interrupt what it does.
#pragma once

#include <functional>

namespace pelacon::os {

/// Runs the action, on an ordinary thread of its own, each time the user interrupts the program
/// (Ctrl-C), which does not end the program any more. A program that was started with interrupts
/// ignored continues to ignore them. Call it once, before any other thread is started.
void OnInterrupt(std::function<void()> action);

/// From its construction on, a request to end the program (SIGTERM, SIGINT or SIGHUP; Ctrl-C, a
/// closed console or the system's shutdown) does not end it at once, but is kept for Wait.
/// Construct it before any other thread is started. A write to a closed pipe then fails like any
/// other write, and does not end the program.
class Termination {
  public:
    Termination();
    ~Termination() = default;
    Termination(const Termination&) = delete;
    Termination& operator=(const Termination&) = delete;

    /// Waits for the request. Returns its name for messages ("SIGTERM").
    const char* Wait();
};

}  // namespace pelacon::os
