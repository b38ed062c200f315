// pelaconctl wifi, in parts: each adds its subcommands.
#pragma once

namespace CLI {
class App;
}

namespace pelacon::ctl {

class Console;

void AddWifiChannels(CLI::App& wifi, const Console& console);

}  // namespace pelacon::ctl
