// GATT in JSON, as in world files and pelaconctl's files.
#pragma once

#include <json/Reader.h>
#include <protocol/Uuid.h>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace pelacon::json {

protocol::Uuid ReadUuid(const Reader& reader);

/// Reads a characteristic's value: hexadecimal digits, or an object with the value as text.
std::vector<std::uint8_t> ReadGattValue(const Reader& reader);

/// Reads a list of words into bits of BleGattCharFlag.
std::int32_t ReadGattFlags(const Reader& reader);

/// A function that reads a list of elements with different UUIDs.
template <typename ReadElement>
auto Distinct(ReadElement readElement)
{
    return [readElement](const Reader& reader) {
        auto elements = reader.List(readElement);
        auto uuids = elements;
        const auto uuid = [](const auto& element) { return element.uuid; };
        std::ranges::sort(uuids, {}, uuid);
        const auto twice = std::ranges::adjacent_find(uuids, {}, uuid);
        if (twice != uuids.end()) {
            reader.Fail("names " + protocol::ShortText(twice->uuid) + " twice");
        }
        return elements;
    };
}

}  // namespace pelacon::json
