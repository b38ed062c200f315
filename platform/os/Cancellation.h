// Threads that somebody ends from outside.
#pragma once

namespace pelacon::os {

/// While it exists, a pthread_cancel of the thread that made it is put off: the thread is cancelled
/// at its next cancellation point afterwards. Does nothing where there is no such thing.
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
