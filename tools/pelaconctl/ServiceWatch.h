// Seeing that the service is still there, for commands that wait for it to tell something.
#pragma once

#include <tools/pelaconctl/Control.h>

#include <chrono>

namespace pelacon::ctl {

/// The library returns to a service that was restarted by itself, so a service that is away for a
/// moment is nothing to end for.
class ServiceWatch {
  public:
    using Clock = std::chrono::steady_clock;

    static constexpr std::chrono::seconds kEvery{1};
    static constexpr std::chrono::seconds kPatience{4};

    /// To be called now and then. Throws Failure once the service has been away for too long.
    void Look()
    {
        const Clock::time_point now = Clock::now();
        if (now < next_) {
            return;
        }
        next_ = now + kEvery;
        try {
            ProbeService();
            seen_ = now;
        } catch (const Failure&) {
            if (now - seen_ > kPatience) {
                throw;
            }
        }
    }

  private:
    Clock::time_point seen_ = Clock::now();
    Clock::time_point next_ = seen_ + kEvery;
};

}  // namespace pelacon::ctl
