#include <os/Utf8.h>

#include <cstdint>
#include <type_traits>

namespace pelacon::os {

namespace {

constexpr std::uint32_t kReplacement = 0xFFFD;

bool IsHighSurrogate(std::uint32_t unit)
{
    return unit >= 0xD800 && unit <= 0xDBFF;
}
bool IsLowSurrogate(std::uint32_t unit)
{
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

/// One unit of wide text, of which some compilers hold the highest for negative.
std::uint32_t Unit(wchar_t character)
{
    return static_cast<std::make_unsigned_t<wchar_t>>(character);
}

/// The character that begins at a position, which moves past it.
std::uint32_t NextCharacter(std::wstring_view text, std::size_t& position)
{
    const auto unit = Unit(text[position++]);
    if (IsHighSurrogate(unit) && position < text.size() && IsLowSurrogate(Unit(text[position]))) {
        const auto low = Unit(text[position++]);
        return 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
    }
    const bool none = unit > 0x10FFFF || IsHighSurrogate(unit) || IsLowSurrogate(unit);
    return none ? kReplacement : unit;
}

void Append(std::string& bytes, std::uint32_t character)
{
    const auto tail = [&](unsigned shift) {
        bytes += static_cast<char>(0x80 | ((character >> shift) & 0x3F));
    };
    if (character < 0x80) {
        bytes += static_cast<char>(character);
    } else if (character < 0x800) {
        bytes += static_cast<char>(0xC0 | (character >> 6));
        tail(0);
    } else if (character < 0x10000) {
        bytes += static_cast<char>(0xE0 | (character >> 12));
        tail(6);
        tail(0);
    } else {
        bytes += static_cast<char>(0xF0 | (character >> 18));
        tail(12);
        tail(6);
        tail(0);
    }
}

}  // namespace

std::string Utf8(std::wstring_view text)
{
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t position = 0; position < text.size();) {
        Append(bytes, NextCharacter(text, position));
    }
    return bytes;
}

}  // namespace pelacon::os
