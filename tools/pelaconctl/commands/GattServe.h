// pelaconctl gatt serve: being a device that others can read.
#pragma once

#include <optional>
#include <string>

namespace pelacon::ctl {

class Console;

/// Serves what the file describes, until Ctrl-C or for so many seconds. Throws Failure.
void ServeGatt(const std::string& file, std::optional<double> seconds, const Console& console);

}  // namespace pelacon::ctl
