// What almost every command uses, in one include.
#pragma once

#include <tools/pelaconctl/Console.h>
#include <tools/pelaconctl/Control.h>
#include <tools/pelaconctl/EventLoop.h>
#include <tools/pelaconctl/Failure.h>
#include <tools/pelaconctl/LibrarySession.h>
#include <tools/pelaconctl/OptionValues.h>
#include <tools/pelaconctl/Text.h>
#include <tools/pelaconctl/commands/Commands.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace pelacon::ctl {

using Json = nlohmann::ordered_json;
using Bytes = std::vector<std::uint8_t>;

/// Adds an option whose value, if it is given, becomes a field of a command to the service.
template <typename Value>
CLI::Option* AddField(CLI::App& command, const std::string& option, Json& fields, const char* name,
                      const std::string& description)
{
    // An empty text is no number, as if the option were not given.
    return command.add_option_function<std::optional<Value>>(
        option,
        [&fields, name](const std::optional<Value>& value) {
            if (value) {
                fields[name] = *value;
            }
        },
        description);
}

}  // namespace pelacon::ctl
