// The command groups. Each function adds a group to the command line, or the subcommands of one
// source to their group. The commands run as CLI11 callbacks, which throw Failure.
#pragma once

namespace CLI {
class App;
}

namespace pelacon::ctl {

class Console;

void AddAdvertiseCommand(CLI::App& program, const Console& console);
void AddApCommand(CLI::App& program, const Console& console);
void AddBtCommand(CLI::App& program, const Console& console);
void AddDoctorCommand(CLI::App& program, const Console& console);
void AddErrorsCommand(CLI::App& program, const Console& console);
void AddGattCommand(CLI::App& program, const Console& console);
void AddGroupCommand(CLI::App& program, const Console& console);
void AddMonitorCommand(CLI::App& program, const Console& console);
void AddScanCommand(CLI::App& program, const Console& console);
void AddServiceCommand(CLI::App& program, const Console& console);
void AddTargetsCommand(CLI::App& program, const Console& console);
void AddWifiCommand(CLI::App& program, const Console& console);

void AddApSettings(CLI::App& ap, const Console& console);
void AddApWatch(CLI::App& ap, const Console& console);
void AddGattServe(CLI::App& gatt, const Console& console);
void AddGroupChannels(CLI::App& group, const Console& console);
void AddGroupConfiguration(CLI::App& group, const Console& console);
void AddGroupWatch(CLI::App& group, const Console& console);
void AddServiceStack(CLI::App& service, const Console& console);
void AddWifiChannels(CLI::App& wifi, const Console& console);

}  // namespace pelacon::ctl
