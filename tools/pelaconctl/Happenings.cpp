#include <tools/pelaconctl/Happenings.h>
#include <tools/pelaconctl/ServiceWatch.h>
#include <tools/pelaconctl/Text.h>

#include <algorithm>
#include <chrono>

namespace pelacon::ctl {

Mailbox<Happening>& Happenings()
{
    static auto& happenings = *new Mailbox<Happening>;
    return happenings;
}

void ShowHappenings(std::optional<double> seconds, const UntilInterrupt& interrupt,
                    const Console& console)
{
    const std::optional<Deadline> end = After(seconds);
    console.Say(console.Styled(Console::Style::kDim, "Watching, until Ctrl-C."));
    ServiceWatch watch;
    while (!interrupt.Happened() && (!end || ServiceWatch::Clock::now() < *end)) {
        const Deadline look = ServiceWatch::Clock::now() + ServiceWatch::kEvery;
        if (const auto happening = Happenings().Next(end ? std::min(*end, look) : look)) {
            const auto now = std::chrono::system_clock::now();
            nlohmann::ordered_json record{{"time", FormatTime(now)}};
            record.update(happening->record);
            console.Report(record, FormatClock(now) + "  " + happening->line);
        }
        watch.Look();
    }
}

}  // namespace pelacon::ctl
