// pelaconctl ap, in parts: each adds its subcommands.
#pragma once

namespace CLI {
class App;
}

namespace pelacon::ctl {

class Console;

void AddApSettings(CLI::App& ap, const Console& console);
void AddApWatch(CLI::App& ap, const Console& console);

}  // namespace pelacon::ctl
