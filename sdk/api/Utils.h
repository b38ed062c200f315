// Numbers in the service's texts.
#pragma once

#include <cstdint>
#include <list>
#include <optional>
#include <string>
#include <string_view>

namespace pelacon::Utils {

/// The whole piece as a number, base 10, with blanks and a sign allowed before it. Nothing, with a
/// log line, when it is not a number or does not fit 64 bits.
std::optional<std::int64_t> StollS(const std::string& piece);

/// The numbers of a text in which they are separated by commas. Empty pieces are left out; a piece
/// that is not a number, or does not fit 32 bits, counts as 0.
std::list<std::int32_t> SplitNumbers(std::string_view text);

}  // namespace pelacon::Utils
