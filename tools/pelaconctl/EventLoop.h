// What all commands that run until Ctrl-C have in common.
#pragma once

#include <tools/pelaconctl/Control.h>
#include <tools/pelaconctl/EventQueue.h>
#include <tools/pelaconctl/ServiceNotices.h>
#include <tools/pelaconctl/UntilInterrupt.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <utility>

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

/// Takes the events of one type until Ctrl-C, or for a number of seconds:
///
///     EventLoop<MyEvent> loop(seconds);
///     while (loop.Continues()) {
///         if (const auto event = loop.Next()) { ... }
///     }
template <typename Event>
class EventLoop {
  public:
    using Clock = Deadline::clock;

    /// `tell` is called when the service is lost, and when it is there again.
    explicit EventLoop(std::optional<double> seconds = std::nullopt,
                       ServiceNotices::Tell tell = &ServiceNotices::OnStandardError)
        : end_(After(seconds)), notices_(std::move(tell))
    {}

    bool Continues() const { return !interrupt_.Happened() && (!end_ || Clock::now() < *end_); }

    /// Waits for the next event, for a second at most. Throws Failure when the service has been
    /// away for too long.
    std::optional<Event> Next() { return Next(ServiceWatch::kInterval); }

    /// The same, with another limit, of a second at most.
    std::optional<Event> Next(Clock::duration limit)
    {
        watch_.Check();
        const Deadline wakeUp = Clock::now() + limit;
        return Events<Event>().Next(end_ ? std::min(*end_, wakeUp) : wakeUp);
    }

  private:
    UntilInterrupt interrupt_{[] { Events<Event>().Close(); }};
    std::optional<Deadline> end_;
    ServiceWatch watch_;
    ServiceNotices notices_;
};

}  // namespace pelacon::ctl
