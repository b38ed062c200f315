// What commands that watch have in common: things happen, and are shown with their time.
#pragma once

#include <tools/pelaconctl/Console.h>
#include <tools/pelaconctl/Interrupt.h>
#include <tools/pelaconctl/Mailbox.h>
#include <tools/pelaconctl/Session.h>

#include <nlohmann/json.hpp>

#include <optional>
#include <string>

namespace pelacon::ctl {

/// One thing that happened, for programs and for people.
struct Happening {
    nlohmann::ordered_json record;
    std::string line;
};

/// Where callbacks post what they are told.
Mailbox<Happening>& Happenings();

/// Shows each thing that happens until the time is up, Ctrl-C comes, or the service has been away
/// for too long, which throws Failure.
void ShowHappenings(std::optional<double> seconds, const UntilInterrupt& interrupt,
                    const Console& console);

/// The whole of a command that watches: what the listener registers when it is constructed, and
/// posts from then on, is shown.
template <typename Listener>
void Watch(std::optional<double> seconds, const Console& console)
{
    const Session session;
    const UntilInterrupt interrupt([] { Happenings().Close(); });
    const Listener listener;
    ShowHappenings(seconds, interrupt, console);
}

}  // namespace pelacon::ctl
