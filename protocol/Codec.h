// Conversion between records and the bytes of payloads.
#pragma once

#include <protocol/Hex.h>
#include <protocol/Operation.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace pelacon::protocol {

using ByteView = std::span<const std::uint8_t>;

// ---- Text and bytes in the fields of a record

/// The text at the start of some bytes: up to the first NUL, or all of them.
inline std::string_view TextIn(ByteView bytes)
{
    const auto end = std::find(bytes.begin(), bytes.end(), std::uint8_t{0});
    return {reinterpret_cast<const char*>(bytes.data()),
            static_cast<std::size_t>(end - bytes.begin())};
}

/// The text in a record's fixed field, up to a NUL or the field's end.
template <std::size_t Size>
std::string_view TextIn(const char (&field)[Size])
{
    return {field, static_cast<std::size_t>(std::find(field, field + Size, '\0') - field)};
}

/// Writes text into a record's fixed field, cut to fit, and zeros after it.
template <std::size_t Size>
void PutText(char (&field)[Size], std::string_view text)
{
    const std::size_t length = std::min(Size, text.size());
    std::fill(std::copy_n(text.data(), length, field), field + Size, '\0');
}

/// Writes bytes into a record's fixed field, cut to fit, and zeros after them. Returns how many.
template <std::size_t Size>
std::size_t PutBytes(std::uint8_t (&field)[Size], ByteView bytes)
{
    const std::size_t length = std::min(Size, bytes.size());
    std::fill(std::copy_n(bytes.data(), length, field), field + Size, std::uint8_t{0});
    return length;
}

/// Writes the low six bytes of an address into a field, the most significant one first.
inline void PutAddress(std::uint8_t (&field)[6], std::uint64_t address)
{
    for (std::size_t octet = 0; octet < 6; ++octet) {
        field[octet] = static_cast<std::uint8_t>(address >> (8 * (5 - octet)));
    }
}

/// "5C:F3:70:8B:12:34"
inline std::string AddressText(std::uint64_t address)
{
    std::uint8_t octets[6];
    PutAddress(octets, address);
    return HexText(octets, HexCase::kUpper, ":");
}

/// "5cf3708b1234"
inline std::string AddressDigits(std::uint64_t address)
{
    return HexNumber(address, 12, HexCase::kLower);
}

/// The address with these octets, the most significant one first.
inline std::uint64_t AddressOf(ByteView octets)
{
    std::uint64_t address = 0;
    for (const std::uint8_t octet : octets) {
        address = address << 8U | octet;
    }
    return address;
}

// ---- Records and payloads

/// A record's bytes. The record must have no padding: that would disclose memory of this process to
/// another one.
template <typename Record>
ByteView AsBytes(const Record& record)
{
    static_assert(std::has_unique_object_representations_v<Record>,
                  "the record has padding: give it a name, as a reserved field");
    return {reinterpret_cast<const std::uint8_t*>(&record), sizeof record};
}

/// The record at the start of a payload, which is padded with zeros if it is too short.
template <typename Record>
Record ReadPadded(ByteView payload)
{
    static_assert(std::is_trivially_copyable_v<Record>);
    Record record{};
    if (!payload.empty()) {
        std::memcpy(&record, payload.data(), std::min(sizeof record, payload.size()));
    }
    return record;
}

/// The conversion of a payload, by its kind. Given is the type to send, Owned the type that keeps
/// its bytes; View returns the bytes to send, and Read the content of received bytes. Text is sent
/// with its NUL, and read up to the first NUL. Text and bytes that Read returns are views of the
/// payload.
template <typename Record>
struct Payload {
    using Given = Record;
    using Owned = Record;
    static ByteView View(const Record& record) { return AsBytes(record); }
    static Record Read(ByteView payload) { return ReadPadded<Record>(payload); }
};
template <>
struct Payload<Nothing> {
    using Given = Nothing;
    using Owned = Nothing;
    static ByteView View(const Nothing& /*none*/) { return {}; }
    static Nothing Read(ByteView /*payload*/) { return {}; }
};
template <>
struct Payload<Text> {
    using Given = std::string;
    using Owned = std::string;
    static ByteView View(const std::string& text)
    {
        return {reinterpret_cast<const std::uint8_t*>(text.c_str()), text.size() + 1};
    }
    static std::string_view Read(ByteView payload) { return TextIn(payload); }
};
template <>
struct Payload<Bytes> {
    using Given = ByteView;
    using Owned = std::vector<std::uint8_t>;
    static ByteView View(ByteView bytes) { return bytes; }
    static ByteView Read(ByteView payload) { return payload; }
};

}  // namespace pelacon::protocol
