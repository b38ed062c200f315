#include <tools/pelaconctl/Text.h>
#include <tools/pelaconctl/Watch.h>

#include <chrono>

namespace pelacon::ctl {

void PostServiceState(PelaconServiceState state)
{
    Events<WatchedEvent>().Post(
        {{{"event", "service"}, {"state", ServiceStateName(state)}}, ServiceStateSentence(state)});
}

void ShowEvents(EventLoop<WatchedEvent>& loop, const Console& console)
{
    console.Say(console.Styled(Console::Style::kDim, "Watching. Press Ctrl-C to stop."));
    while (loop.Continues()) {
        if (const auto event = loop.Next()) {
            const auto now = std::chrono::system_clock::now();
            nlohmann::ordered_json record{{"time", FormatTime(now)}};
            record.update(event->record);
            console.Report(record, FormatClock(now) + "  " + event->line);
        }
    }
}

}  // namespace pelacon::ctl
