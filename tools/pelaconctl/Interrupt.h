// Ctrl-C: the end of the program, or, for commands that run until then, just the end of the wait.
#pragma once

#include <atomic>
#include <functional>

namespace pelacon::ctl {

/// Makes Ctrl-C end the program with status 130, at any point. To be called first in main.
void HandleInterrupts();

/// While one of these lives, Ctrl-C is the command's ordinary end and does not end the program.
/// A second Ctrl-C does. At most one at a time.
class UntilInterrupt {
  public:
    /// `wake` runs on another thread when Ctrl-C comes; it should end what the command waits for.
    explicit UntilInterrupt(std::function<void()> wake = nullptr);
    ~UntilInterrupt();

    UntilInterrupt(const UntilInterrupt&) = delete;
    UntilInterrupt& operator=(const UntilInterrupt&) = delete;

    /// Whether Ctrl-C came.
    bool Happened() const { return happened_; }

  private:
    friend void HandleInterrupts();
    void Happen();

    std::function<void()> wake_;
    std::atomic<bool> happened_{false};
};

}  // namespace pelacon::ctl
