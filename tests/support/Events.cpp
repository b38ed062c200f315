#include <tests/support/Events.h>
#include <tests/support/Journal.h>

#include <gmock/gmock.h>

#include <mutex>
#include <ostream>
#include <utility>

namespace pelacon::test {

namespace {

struct Recorder {
    std::mutex mutex;
    std::vector<Event> events;
    VoView::Sink sink;
};

Recorder& TheRecorder()
{
    static Recorder& recorder = *new Recorder;
    return recorder;
}

}  // namespace

void PrintTo(const Event& event, std::ostream* out)
{
    *out << "event " << event.id;
    for (const auto& [key, value] : event.entries) {
        *out << ", " << key << " = " << ::testing::PrintToString(value);
    }
}

VoEvent::Entry Int(std::string key, std::int32_t value)
{
    return {std::move(key), value};
}
VoEvent::Entry Long(std::string key, std::int64_t value)
{
    return {std::move(key), value};
}
VoEvent::Entry Str(std::string key, std::string value)
{
    return {std::move(key), std::move(value)};
}

std::vector<Event> Events::All()
{
    const std::lock_guard lock(TheRecorder().mutex);
    return TheRecorder().events;
}

void Events::Clear()
{
    const std::lock_guard lock(TheRecorder().mutex);
    TheRecorder().events.clear();
}

}  // namespace pelacon::test

using pelacon::test::TheRecorder;

void VoView::Report(const VoEvent& event) noexcept
{
    Sink sink;
    {
        const std::lock_guard lock(TheRecorder().mutex);
        TheRecorder().events.push_back({event.EventId(), event.Entries()});
        sink = TheRecorder().sink;
    }
    pelacon::test::Journal::Note("event " + std::to_string(event.EventId()));
    if (sink) {
        sink(event);
    }
}

void VoView::SetSink(Sink sink)
{
    const std::lock_guard lock(TheRecorder().mutex);
    TheRecorder().sink = std::move(sink);
}
