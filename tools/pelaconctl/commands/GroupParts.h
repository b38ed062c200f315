// pelaconctl group, in parts: each adds its subcommands.
#pragma once

namespace CLI {
class App;
}

namespace pelacon::ctl {

class Console;

void AddGroupChannels(CLI::App& group, const Console& console);
void AddGroupConfiguration(CLI::App& group, const Console& console);
void AddGroupWatch(CLI::App& group, const Console& console);

}  // namespace pelacon::ctl
