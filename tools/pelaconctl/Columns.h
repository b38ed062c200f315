// How many columns of a terminal a text takes.
#pragma once

#include <cstddef>
#include <string_view>

namespace pelacon::ctl {

/// A character of a text in UTF-8.
struct Utf8Character {
    char32_t code = 0;
    std::size_t size = 1;  ///< in bytes
    bool isValid = false;  ///< otherwise one byte that begins no character
};

/// The first character of a text that is not empty.
Utf8Character FirstCharacter(std::string_view text);

/// 0 for a mark that is drawn over the character before, 2 for a wide character, otherwise 1.
std::size_t ColumnsOf(char32_t code);

std::size_t ColumnsOf(std::string_view text);

}  // namespace pelacon::ctl
