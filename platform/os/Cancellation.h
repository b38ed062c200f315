// Cancellation of threads.
#pragma once

namespace pelacon::os {

/// Delays a pthread_cancel of the thread that constructs it: the thread is cancelled at its first
/// cancellation point after the object's destruction. Does nothing on Windows.
class NoCancellation {
  public:
    NoCancellation() noexcept;
    ~NoCancellation();  // NOLINT(performance-trivially-destructible): so on Windows only
    NoCancellation(const NoCancellation&) = delete;
    NoCancellation& operator=(const NoCancellation&) = delete;

  private:
    int before_ = 0;
};

}  // namespace pelacon::os
