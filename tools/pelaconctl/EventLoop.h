// What all commands that run until Ctrl-C have in common.
#pragma once

#include <tools/pelaconctl/EventQueue.h>
#include <tools/pelaconctl/ServiceWatch.h>
#include <tools/pelaconctl/UntilInterrupt.h>

#include <algorithm>
#include <optional>

namespace pelacon::ctl {

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

    explicit EventLoop(std::optional<double> seconds = std::nullopt) : end_(After(seconds)) {}

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
};

}  // namespace pelacon::ctl
