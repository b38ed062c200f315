// Ctrl-C: ends the program, or, for commands that run until Ctrl-C, only their wait.
#pragma once

#include <atomic>
#include <functional>

namespace pelacon::ctl {

/// Makes Ctrl-C end the program with status 130 at any point. Called first in main.
void HandleInterrupts();

/// While an object lives, the first Ctrl-C does not end the program: it sets Happened and calls
/// `wake`. A second Ctrl-C ends the program. There may be one object at a time.
class UntilInterrupt {
  public:
    /// `wake` is called on another thread; it should end the command's wait.
    explicit UntilInterrupt(std::function<void()> wake = nullptr);
    ~UntilInterrupt();

    UntilInterrupt(const UntilInterrupt&) = delete;
    UntilInterrupt& operator=(const UntilInterrupt&) = delete;

    /// Whether Ctrl-C was pressed.
    bool Happened() const { return happened_; }

  private:
    friend void HandleInterrupts();
    void Happen();

    std::function<void()> wake_;
    std::atomic<bool> happened_{false};
};

}  // namespace pelacon::ctl
