// The stand-in for the event library: a recording VoView.
#pragma once

#include <voevent/VoEvent.h>

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

namespace pelacon::test {

struct Event {
    std::int32_t id = 0;
    std::vector<VoEvent::Entry> entries;

    bool operator==(const Event&) const = default;
};
void PrintTo(const Event& event, std::ostream* out);

/// Entries of an event, to compare with:
///
///     EXPECT_THAT(Events::All(), ElementsAre(Event{954082006, {Int("EventType", 1), ...}}));
VoEvent::Entry Int(std::string key, std::int32_t value);
VoEvent::Entry Long(std::string key, std::int64_t value);
VoEvent::Entry Str(std::string key, std::string value);

/// Every event that was reported.
class Events {
  public:
    static std::vector<Event> All();
    static void Clear();
};

}  // namespace pelacon::test
