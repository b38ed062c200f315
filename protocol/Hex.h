// Hexadecimal text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace pelacon::protocol {

enum class HexCase : std::uint8_t { kLower, kUpper };

constexpr char HexDigit(unsigned value, HexCase letters)
{
    constexpr std::string_view kLower = "0123456789abcdef";
    constexpr std::string_view kUpper = "0123456789ABCDEF";
    return (letters == HexCase::kLower ? kLower : kUpper)[value & 0xFU];
}

/// Two digits per byte, with the separator between two bytes.
inline std::string HexText(std::span<const std::uint8_t> bytes, HexCase letters = HexCase::kLower,
                           std::string_view separator = {})
{
    std::string text;
    text.reserve(bytes.size() * (2 + separator.size()));
    for (const std::uint8_t byte : bytes) {
        text += text.empty() ? std::string_view() : separator;
        text += HexDigit(byte >> 4U, letters);
        text += HexDigit(byte, letters);
    }
    return text;
}

/// The lowest `digits` digits of a number.
inline std::string HexNumber(std::uint64_t value, std::size_t digits,
                             HexCase letters = HexCase::kUpper)
{
    std::string text(digits, '0');
    for (auto digit = text.rbegin(); digit != text.rend(); ++digit, value >>= 4U) {
        *digit = HexDigit(static_cast<unsigned>(value & 0xFU), letters);
    }
    return text;
}

/// The value of a digit, in upper or lower case; -1 for any other character.
constexpr int HexValue(char digit)
{
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    if (digit >= 'a' && digit <= 'f') {
        return digit - 'a' + 10;
    }
    return digit >= 'A' && digit <= 'F' ? digit - 'A' + 10 : -1;
}

/// Removes the two digits of a byte from the start of the text. If the text does not start with two
/// digits, returns nothing and leaves the text unchanged.
constexpr std::optional<std::uint8_t> TakeHexByte(std::string_view& text)
{
    const int high = text.empty() ? -1 : HexValue(text[0]);
    const int low = text.size() < 2 ? -1 : HexValue(text[1]);
    if (high < 0 || low < 0) {
        return std::nullopt;
    }
    text.remove_prefix(2);
    return static_cast<std::uint8_t>(high * 16 + low);
}

}  // namespace pelacon::protocol
