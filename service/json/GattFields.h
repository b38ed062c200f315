// What files say of GATT, in the words that the world file and pelaconctl's have in common.
#pragma once

#include <protocol/Uuid.h>
#include <service/json/Reader.h>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace pelacon::service::json {

protocol::Uuid ReadUuid(const Reader& reader);

/// A characteristic's value: hexadecimal text, or an object with a text whose characters are meant.
std::vector<std::uint8_t> ReadGattValue(const Reader& reader);

/// What a characteristic can do, as a list of words. The bits are those of BleGattCharFlag in the
/// public headers.
std::int32_t ReadGattFlags(const Reader& reader);

/// Reads a list of what has a UUID, no two of which have the same.
template <typename Read>
auto ReadDistinct(const Reader& reader, Read read)
{
    auto elements = reader.List(read);
    auto uuids = elements;
    const auto uuid = [](const auto& element) { return element.uuid; };
    std::ranges::sort(uuids, {}, uuid);
    const auto twice = std::ranges::adjacent_find(uuids, {}, uuid);
    if (twice != uuids.end()) {
        reader.Fail("names " + protocol::ShortText(twice->uuid) + " twice");
    }
    return elements;
}

}  // namespace pelacon::service::json
