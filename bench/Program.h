// The outermost function of the benchmarks' programs.
#pragma once

#include <csignal>
#include <exception>
#include <iostream>

namespace pelacon::bench {

/// Calls `run`, whose result is the exit status. An exception is written as the program's error,
/// and the exit status is 2: not measured. A connection that the other process has closed does not
/// end the program.
inline int RunProgram(const char* name, int (*run)(int argc, char** argv), int argc, char** argv)
{
    std::signal(SIGPIPE, SIG_IGN);
    try {
        return run(argc, argv);
    } catch (const std::exception& exception) {
        std::cerr << name << ": " << exception.what() << '\n';
        return 2;
    }
}

}  // namespace pelacon::bench
