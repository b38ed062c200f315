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

/// Adds a first byte, which says by its highest bits how many follow, and those, of six bits each.
void Append(std::string& bytes, std::uint32_t character)
{
    constexpr std::uint32_t kFirst[] = {0, 0xC0, 0xE0, 0xF0};
    unsigned more = character < 0x80 ? 0 : character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
    bytes += static_cast<char>(kFirst[more] | character >> (6 * more));
    while (more-- > 0) {
        bytes += static_cast<char>(0x80 | ((character >> (6 * more)) & 0x3F));
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
