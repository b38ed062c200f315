// The stand-in for detached threads.
#pragma once

namespace pelacon::test {

/// What happens to detached threads that the library starts.
enum class ThreadMode {
    kDetached,  ///< it runs as it would
    kAtOnce,    ///< its body runs before the start returns, on the same thread
    kKept,      ///< its body is kept until RunKept
    kFailing,   ///< it cannot be created: std::system_error
};

class Threads {
  public:
    static void Use(ThreadMode mode);
    /// Threads started since the last Reset.
    static int Started();
    /// Runs the kept bodies in the order in which they were started, on the calling thread.
    static void RunKept();
    /// Waits until every detached thread has ended; fails the test when that takes too long.
    static void WaitForAll();
    /// Removes kept bodies, resets the count, and runs later bodies on threads again.
    static void Reset();
};

}  // namespace pelacon::test
