// Options that several commands have, and checks of their values.
#pragma once

#include <CLI/CLI.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace pelacon::ctl {

/// For check(): a finite number, 0 or more.
CLI::Validator NotNegative();

/// For check(): a finite number above 0.
CLI::Validator AboveZero();

/// For transform(): one of these words, which is replaced by its value.
template <typename Value>
CLI::Validator OneOf(std::vector<std::pair<std::string, Value>> values)
{
    const auto read = [values = std::move(values)](std::string& text) -> std::string {
        std::string words;
        for (const auto& [word, value] : values) {
            if (text == word) {
                text = std::to_string(static_cast<std::int32_t>(value));
                return {};
            }
            words += (words.empty() ? "" : ", ") + word;
        }
        return "must be one of " + words + ", not \"" + text + "\"";
    };
    return {read, ""};
}

/// Adds --seconds: how long the command runs.
void AddSeconds(CLI::App& command, std::optional<double>& seconds,
                const CLI::Validator& check = NotNegative());

/// Adds --wait: how long the command waits for the event that the description names.
void AddWait(CLI::App& command, double& seconds, const std::string& description,
             const CLI::Validator& check = NotNegative());

}  // namespace pelacon::ctl
