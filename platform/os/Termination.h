// How a program that runs until it is told to end learns that it should.
#pragma once

namespace pelacon::os {

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
