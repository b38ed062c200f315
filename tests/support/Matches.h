// Regular expressions; those of GoogleTest differ from system to system.
#pragma once

#include <gmock/gmock.h>

#include <regex>
#include <string>

namespace pelacon::test {

/// The whole text matches this regular expression of std::regex.
inline auto Matches(const std::string& pattern)
{
    return ::testing::ResultOf(
        "whether it matches " + pattern,
        [expression = std::regex(pattern)](const std::string& text) {
            return std::regex_match(text, expression);
        },
        ::testing::IsTrue());
}

}  // namespace pelacon::test
