// What the UUID texts in GATT messages mean.
#pragma once

#include <protocol/Hex.h>

#include <algorithm>
#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace pelacon::protocol {

/// A UUID's 16 bytes, in the order in which they are written.
struct Uuid {
    std::array<std::uint8_t, 16> bytes{};

    constexpr auto operator<=>(const Uuid&) const = default;  // NOLINT(modernize-use-nullptr)
};

/// What the short forms stand for: 0000xxxx-0000-1000-8000-00805f9b34fb.
inline constexpr Uuid kBluetoothBaseUuid{
    {0, 0, 0, 0, 0, 0, 0x10, 0, 0x80, 0, 0, 0x80, 0x5f, 0x9b, 0x34, 0xfb}};

namespace detail {

constexpr std::size_t kShortUuidBytes = 4;

constexpr bool HasDashBehind(std::size_t byte)
{
    return byte == 3 || byte == 5 || byte == 7 || byte == 9;
}

/// Takes `count` bytes from the front of the text; false when they are not there.
constexpr bool TakeBytes(std::string_view& text, std::uint8_t* bytes, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        const std::optional<std::uint8_t> byte = TakeHexByte(text);
        if (!byte) {
            return false;
        }
        bytes[i] = *byte;
    }
    return true;
}

}  // namespace detail

/// Reads a UUID: four or eight hexadecimal digits, or all of it with its dashes; in either case of
/// letters.
constexpr std::optional<Uuid> ParseUuid(std::string_view text)
{
    constexpr std::size_t kLongText = 36;
    Uuid uuid = kBluetoothBaseUuid;
    if (text.size() == 4 || text.size() == 8) {
        const std::size_t count = text.size() / 2;
        const bool taken =
            detail::TakeBytes(text, uuid.bytes.data() + (detail::kShortUuidBytes - count), count);
        return taken ? std::optional(uuid) : std::nullopt;
    }
    if (text.size() != kLongText) {
        return std::nullopt;
    }
    for (std::size_t i = 0; i < uuid.bytes.size(); ++i) {
        if (!detail::TakeBytes(text, &uuid.bytes[i], 1)) {
            return std::nullopt;
        }
        if (detail::HasDashBehind(i)) {
            if (text.empty() || text[0] != '-') {
                return std::nullopt;
            }
            text.remove_prefix(1);
        }
    }
    return uuid;
}

/// All 36 characters of a UUID.
inline std::string LongText(const Uuid& uuid)
{
    std::string text;
    for (std::size_t i = 0; i < uuid.bytes.size(); ++i) {
        text += HexNumber(uuid.bytes[i], 2, HexCase::kLower);
        if (detail::HasDashBehind(i)) {
            text += '-';
        }
    }
    return text;
}

/// The shortest text that means the UUID.
inline std::string ShortText(const Uuid& uuid)
{
    const bool hasShortForm =
        std::equal(uuid.bytes.begin() + detail::kShortUuidBytes, uuid.bytes.end(),
                   kBluetoothBaseUuid.bytes.begin() + detail::kShortUuidBytes);
    if (!hasShortForm) {
        return LongText(uuid);
    }
    const bool is16Bit = uuid.bytes[0] == 0 && uuid.bytes[1] == 0;
    return LongText(uuid).substr(is16Bit ? 4 : 0, is16Bit ? 4 : 8);
}

}  // namespace pelacon::protocol
