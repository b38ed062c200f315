// A program that is started and watched on the loop.
#pragma once

#include <service/linux/FileDescriptor.h>
#include <service/linux/Loop.h>
#include <service/linux/ProcessRights.h>

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

namespace pelacon::service::linux_radios {

/// The path of a program in PATH, or in the folders for administrators; empty if there is none.
std::string PathOfProgram(const std::string& name);

/// Runs as long as this, or until it ends by itself; and no longer than the loop's thread, also if
/// this process is killed: the kernel kills it then. Used in the loop's thread.
class ChildProcess : private Loop::Source {
  public:
    /// What a program that could not be started ends with.
    static constexpr int kNotStarted = 127;

    /// The first argument is the program, as PathOfProgram finds it; it has these rights and no
    /// others. What it prints is dropped. `ended` is called once, later, with its exit code, or
    /// with minus the signal that ended it; may destroy this. Throws std::system_error if there can
    /// be no other process.
    ChildProcess(Loop& loop, const std::vector<std::string>& arguments, const ProcessRights& rights,
                 std::function<void(int code)> ended);

    /// Kills it, if it still runs, without a call of `ended`. Does not wait for its end.
    ~ChildProcess() override;

    /// Asks it to end.
    void Terminate() const;

  private:
    /// Killed with this.
    struct Process {
        ~Process();
        pid_t id = -1;
    };

    Loop::Interest Wants() override;
    void Ready(short events) override;

    Loop& loop_;
    std::function<void(int)> ended_;
    Process process_;
    FileDescriptor handle_;  // ready to read once the process has ended
};

}  // namespace pelacon::service::linux_radios
