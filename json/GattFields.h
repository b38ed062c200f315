// What files say of GATT, in the words that the world file and pelaconctl's have in common.
#pragma once

#include <json/Reader.h>
#include <protocol/Uuid.h>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace pelacon::json {

protocol::Uuid ReadUuid(const Reader& reader);

/// A characteristic's value: hexadecimal text, or an object with a text whose characters are meant.
std::vector<std::uint8_t> ReadGattValue(const Reader& reader);

/// What a characteristic can do, as a list of words: bits of BleGattCharFlag.
std::int32_t ReadGattFlags(const Reader& reader);

/// A function that reads a list of what has a UUID, no two of which have the same.
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
