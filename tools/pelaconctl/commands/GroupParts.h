// pelaconctl group, in parts: each adds its subcommands.
#pragma once

#include <string>
#include <string_view>

namespace CLI {
class App;
}

namespace pelacon::ctl {

class Console;

/// A station's address as people write it, made of its digits; what is no address stays as it is.
std::string StationAddress(std::string_view digits);

void AddGroupChannels(CLI::App& group, const Console& console);
void AddGroupConfiguration(CLI::App& group, const Console& console);
void AddGroupWatch(CLI::App& group, const Console& console);

}  // namespace pelacon::ctl
