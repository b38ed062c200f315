// Addresses, bytes, times and states, read and written as text.
#pragma once

#include <protocol/Codec.h>
#include <protocol/Hex.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace pelacon::ctl {

/// Reads "5C:F3:70:8B:12:34" (hyphens or no separators are allowed as well) into the low six bytes,
/// the first octet most significant. Throws Failure.
std::uint64_t ParseAddress(std::string_view text);

/// A station's address from the library in that form. Text that is not an address stays as it is.
std::string FormatStation(std::string_view address);

/// Reads "0a 1B:ff": upper or lower case, blanks, colons and hyphens between bytes are allowed, and
/// so is a leading "0x". Throws Failure.
std::vector<std::uint8_t> ParseHex(std::string_view text);

/// "2024-05-17T09:30:12.345Z", for programs.
std::string FormatTime(std::chrono::system_clock::time_point time);

/// "11:30:12.345", in local time.
std::string FormatClock(std::chrono::system_clock::time_point time);

/// The name of a number in a list of numbers and names; `otherwise` for numbers not in the list.
std::string NameOf(std::int32_t number,
                   std::initializer_list<std::pair<std::int32_t, const char*>> names,
                   const std::string& otherwise);

/// The name of a state; "in state 7" for numbers not in the list.
std::string StateName(std::int32_t state,
                      std::initializer_list<std::pair<std::int32_t, const char*>> names);

/// An adapter's state in words: "turning on".
std::string BtStateName(std::int32_t state);

/// Text from another device or program, safe to show: control characters and bytes that are not
/// UTF-8 become question marks, so that the text cannot control the terminal.
std::string Printable(std::string_view text);

/// The text in exactly this many columns of a terminal: cut, with ".." at the end, or padded with
/// blanks. The text must be printable.
std::string Fit(std::string_view text, std::size_t columns);

/// The numbers with blanks between them.
template <typename Numbers>
std::string Listed(const Numbers& numbers)
{
    std::string text;
    for (const auto number : numbers) {
        text += (text.empty() ? "" : " ") + std::to_string(number);
    }
    return text;
}

/// "0xD80062"
std::string FormatMessageId(std::int32_t id);

}  // namespace pelacon::ctl
