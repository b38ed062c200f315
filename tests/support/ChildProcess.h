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

/// Runs until it ends, or is destroyed, which kills it. Output is read as it comes. Every wait is
/// bounded, and fails the test when it comes to its end.
class ChildProcess {
  public:
    /// Why a program that ends while its threads are in system calls may hang on this system; null
    /// where it must end.
    static const char* WhyItMayNotEnd();
    /// Why a program cannot be given a terminal here; null where it can.
    static const char* WhyNoTerminal();

    struct Options {
        /// Its output goes to a terminal, which people would see, rather than to a pipe. Errors
        /// then come with the output.
        bool terminal = false;
        /// It has a standard input, to which Write writes; otherwise an empty one.
        bool input = false;
        /// "NAME=value", besides what this process has.
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

    /// As Ctrl-C does.
    void Interrupt();
    /// Asks it to end, as a system that shuts down does.
    void Terminate();
    /// Ends it at once, without its having a say.
    void Kill();

    /// Writes a line to its standard input.
    void Write(const std::string& line);

    /// Its exit code; -1 when it did not end in time or was killed.
    int Wait(std::chrono::milliseconds patience = kPatience);

    /// The next line of its output, without the line's end; nothing when it has ended before that.
    std::optional<std::string> NextLine(std::chrono::milliseconds patience = kPatience);

    /// Waits until its output holds the text; false when it ended, or did not come, before that.
    bool WaitForOutput(const std::string& text, std::chrono::milliseconds patience = kPatience);

    /// All of its output so far, lines that were read included; all of it once it was waited for.
    std::string Output() const;
    std::string Errors() const;

  private:
    class Implementation;
    std::unique_ptr<Implementation> implementation_;
};

}  // namespace pelacon::test
