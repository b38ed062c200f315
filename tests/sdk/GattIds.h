// Ids and payloads that tests of both GATT families use.
#pragma once

#include <tests/support/Bytes.h>

#include <cstdint>
#include <string>

namespace pelacon::test {

inline constexpr std::int32_t kClient = 0x01020304;
inline constexpr std::int32_t kServer = 0x01020304;
inline constexpr std::int32_t kHandle = 0x05060708;
inline constexpr std::uint64_t kPeer = 0x1122334455667788;
inline constexpr char kService[] = "0000180d-0000-1000-8000-00805f9b34fb";  // exactly 36 characters
inline constexpr char kChar[] = "2a37";
inline const std::string kTooLong(37, 'a');

/// The first fields of a client's requests about a characteristic, and of the replies to reads.
inline Bytes ClientIds()
{
    return Bytes().I32(kClient).Text(kService, 37).Text(kChar, 37);
}

/// The first fields of a server's requests about a service.
inline Bytes ServerIds()
{
    return Bytes().I32(kServer).I32(kHandle);
}

/// A notification of a server's characteristic.
inline Bytes Publish(const std::string& uuid, const ByteVector& value)
{
    return ServerIds()
        .Text(uuid, 37)
        .Raw(value, 1024)
        .Zeros(3)
        .U32(static_cast<std::uint32_t>(value.size()))
        .Zeros(4)
        .U64(kPeer);
}

}  // namespace pelacon::test
