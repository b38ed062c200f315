// Scan filters with known bytes.
#pragma once

#include <PelaconSDK/BleScanner.h>
#include <tests/support/Bytes.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace pelacon::test {

inline constexpr std::int32_t kSetFilter = 0xD70076;

/// A filter whose every byte is different.
inline BleScanFilter Filter(std::uint8_t first, std::uint32_t patternLength)
{
    BleScanFilter filter{};
    filter.type = 0x01020304 + first;
    filter.patternLength = patternLength;
    for (std::size_t i = 0; i < sizeof filter.patternData; ++i) {
        filter.patternData[i] = static_cast<std::uint8_t>(first + i);
    }
    return filter;
}

inline ByteVector Raw(const BleScanFilter& filter)
{
    ByteVector bytes(sizeof filter);
    std::memcpy(bytes.data(), &filter, sizeof filter);
    return bytes;
}

}  // namespace pelacon::test
