// Conversion between records and bytes.
#pragma once

#include <protocol/Operation.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace pelacon::service {

using Bytes = std::vector<std::uint8_t>;
using ByteView = std::span<const std::uint8_t>;

/// A record's bytes. The record must have no padding: that would disclose memory of the service to
/// other processes.
template <typename Record>
ByteView AsBytes(const Record& record)
{
    static_assert(std::has_unique_object_representations_v<Record>,
                  "the record has padding: give it a name, as a reserved field");
    return {reinterpret_cast<const std::uint8_t*>(&record), sizeof record};
}

/// The answer to a request if it says only that the request was accepted.
inline Bytes Acknowledgement()
{
    return {0};
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

/// Writes bytes into a record's fixed area, cut to fit, and zeros after them. Returns how many.
template <std::size_t Size>
std::size_t PutBytes(std::uint8_t (&area)[Size], ByteView bytes)
{
    const std::size_t length = std::min(Size, bytes.size());
    std::fill(std::copy_n(bytes.data(), length, area), area + Size, std::uint8_t{0});
    return length;
}

}  // namespace pelacon::service
