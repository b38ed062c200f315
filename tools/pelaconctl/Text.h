// Addresses, bytes, times and states, as people write them.
#pragma once

#include <chrono>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace pelacon::ctl {

/// Reads "5C:F3:70:8B:12:34" (or with hyphens, or without separators) into the low six bytes, first
/// octet most significant. Throws Failure.
std::uint64_t ParseAddress(std::string_view text);

/// "5C:F3:70:8B:12:34"
std::string FormatAddress(std::uint64_t address);

/// Reads "0a 1B:ff", upper or lower case, blanks, colons and hyphens between bytes as one likes, a
/// leading "0x" as well. Throws Failure.
std::vector<std::uint8_t> ParseHex(std::string_view text);

/// "0a1bff"
std::string FormatHex(std::span<const std::uint8_t> bytes);

/// "2024-05-17T09:30:12.345Z", for programs.
std::string FormatTime(std::chrono::system_clock::time_point time);

/// "11:30:12.345", where the user is.
std::string FormatClock(std::chrono::system_clock::time_point time);

/// An adapter's state in words: "turning on".
std::string BtStateName(std::int32_t state);

/// Text that came from elsewhere, safe to show: control characters and what is not UTF-8 become
/// question marks, so that nobody moves the cursor of somebody else's terminal.
std::string Printable(std::string_view text);

/// The text in exactly so many columns: cut, with ".." at the end, or with blanks behind it. It
/// takes printable text, of which every character counts as one column.
std::string Fit(std::string_view text, std::size_t columns);

/// "0xD80062"
std::string FormatMessageId(std::int32_t id);

}  // namespace pelacon::ctl
