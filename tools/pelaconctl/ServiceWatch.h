// Checks that the service is still running.
#pragma once

#include <tools/pelaconctl/Control.h>

#include <chrono>

namespace pelacon::ctl {

/// For commands that wait for notifications, which do not come when the service is gone. A short
/// absence is not a failure: the library connects again to a service that was restarted.
class ServiceWatch {
  public:
    using Clock = std::chrono::steady_clock;

    static constexpr std::chrono::seconds kInterval{1};
    static constexpr std::chrono::seconds kLongestAbsence{4};

    /// To be called again and again; probes the service once per interval. Throws Failure when the
    /// service has been away for longer than kLongestAbsence.
    void Check()
    {
        const Clock::time_point now = Clock::now();
        if (now < next_) {
            return;
        }
        next_ = now + kInterval;
        try {
            ProbeService();
            seen_ = now;
        } catch (const Failure&) {
            if (now - seen_ > kLongestAbsence) {
                throw;
            }
        }
    }

  private:
    Clock::time_point seen_ = Clock::now();
    Clock::time_point next_ = seen_ + kInterval;
};

}  // namespace pelacon::ctl
