// A program that a test runs beside itself.
#pragma once

#include <tests/support/Eventually.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace pelacon::test {

/// Runs a program; its destructor kills the program. The output is read as it comes. Every wait has
/// a time limit, and fails the test at that limit.
class ChildProcess {
  public:
    /// Why a program that ends while its threads are in system calls may hang on this system; null
    /// where it must end.
    static const char* WhyItMayNotEnd();
    /// Why a program cannot be given a terminal here; null where it can.
    static const char* WhyNoTerminal();

    struct Options {
        /// Its output goes to a terminal rather than to a pipe. The output then includes its
        /// errors.
        bool terminal = false;
        /// Write writes to its standard input, which is empty otherwise.
        bool input = false;
        /// "NAME=value", added to the environment of this process.
        std::vector<std::string> environment = {};
    };

    ChildProcess(const std::string& program, const std::vector<std::string>& arguments,
                 const Options& options);
    ChildProcess(const std::string& program, const std::vector<std::string>& arguments)
        : ChildProcess(program, arguments, Options())
    {}
    ~ChildProcess();

    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    std::uint32_t Id() const;

    /// Interrupts it, as Ctrl-C does.
    void Interrupt();
    /// Asks it to end, as a system that shuts down does.
    void Terminate();
    /// Kills it.
    void Kill();

    /// Writes a line to its standard input.
    void Write(const std::string& line);

    /// Its exit code; -1 when it did not end in time or was killed.
    int Wait(std::chrono::milliseconds patience = kPatience);

    /// The next line of its output, without the line's end; nothing when it ends before that.
    std::optional<std::string> NextLine(std::chrono::milliseconds patience = kPatience);

    /// Waits until its output contains the text; false when it ends, or time is up, before that.
    bool WaitForOutput(const std::string& text, std::chrono::milliseconds patience = kPatience);

    /// Its output so far, including lines that were read; after Wait, its whole output.
    std::string Output() const;
    std::string Errors() const;

  private:
    class Implementation;
    std::unique_ptr<Implementation> implementation_;
};

}  // namespace pelacon::test
