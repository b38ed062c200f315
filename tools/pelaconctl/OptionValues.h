// What the values of options may be, and a sentence for those that are not.
#pragma once

#include <CLI/CLI.hpp>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace pelacon::ctl {

/// For check(): a finite number, 0 or more.
CLI::Validator NotNegative();

/// For check(): a finite number above 0.
CLI::Validator AboveZero();

/// For transform(): one of these words, which becomes its value.
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
        return "\"" + text + "\" is none of " + words;
    };
    return {read, ""};
}

}  // namespace pelacon::ctl
