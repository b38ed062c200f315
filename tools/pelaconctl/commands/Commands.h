// The command groups. Each adds itself to the command line; its work is done in CLI11 callbacks,
// which throw Failure.
#pragma once

namespace CLI {
class App;
}

namespace pelacon::ctl {

class Console;

void AddAdvertiseCommand(CLI::App& program, Console& console);
void AddApCommand(CLI::App& program, Console& console);
void AddBtCommand(CLI::App& program, Console& console);
void AddErrorsCommand(CLI::App& program, Console& console);
void AddGroupCommand(CLI::App& program, Console& console);
void AddGattCommand(CLI::App& program, Console& console);
void AddMonitorCommand(CLI::App& program, Console& console);
void AddScanCommand(CLI::App& program, Console& console);
void AddServiceCommand(CLI::App& program, Console& console);
void AddTargetsCommand(CLI::App& program, Console& console);
void AddWifiCommand(CLI::App& program, Console& console);

}  // namespace pelacon::ctl
