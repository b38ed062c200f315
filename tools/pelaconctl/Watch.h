// Commands that watch: each event is shown with its time, until Ctrl-C.
#pragma once

#include <tools/pelaconctl/Console.h>
#include <tools/pelaconctl/EventLoop.h>
#include <tools/pelaconctl/LibrarySession.h>
#include <tools/pelaconctl/OptionValues.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <memory>
#include <optional>
#include <string>

namespace pelacon::ctl {

/// An event, for programs and for people.
struct WatchedEvent {
    nlohmann::ordered_json record;
    std::string line;
};

/// Posts the service's loss and return like any other event.
void PostServiceState(PelaconServiceState state);

/// Shows each event until the loop ends.
void ShowEvents(EventLoop<WatchedEvent>& loop, const Console& console);

/// Adds the subcommand "watch". It constructs a Listener, which registers callbacks that post to
/// Events<WatchedEvent>(), and shows what they post.
template <typename Listener>
void AddWatch(CLI::App& parent, const std::string& description, const Console& console)
{
    const auto seconds = std::make_shared<std::optional<double>>();
    CLI::App* const command = parent.add_subcommand("watch", description);
    AddSeconds(*command, *seconds);
    command->callback([&console, seconds] {
        const LibrarySession session;
        EventLoop<WatchedEvent> loop(*seconds, &PostServiceState);
        const Listener listener;
        ShowEvents(loop, console);
    });
}

}  // namespace pelacon::ctl
