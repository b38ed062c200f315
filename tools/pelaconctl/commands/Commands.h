// The command groups. Each adds itself to the command line; its work is done in CLI11 callbacks,
// which throw Failure.
#pragma once

namespace CLI {
class App;
}

namespace pelacon::ctl {

class Console;

void AddBtCommand(CLI::App& program, Console& console);
void AddMonitorCommand(CLI::App& program, Console& console);
void AddServiceCommand(CLI::App& program, Console& console);

}  // namespace pelacon::ctl
