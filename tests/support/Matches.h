// Texts held against a pattern; GoogleTest's own patterns know less on some systems than on others.
#pragma once

#include <gmock/gmock.h>

#include <regex>
#include <string>

namespace pelacon::test {

/// The whole text matches this regular expression, as std::regex understands it.
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
