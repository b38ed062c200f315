// Payloads of the service's messages.
#pragma once

#include <protocol/Codec.h>

#include <cstdint>
#include <vector>

namespace pelacon::service {

using Bytes = std::vector<std::uint8_t>;
using protocol::AsBytes;
using protocol::ByteView;
using protocol::PutAddress;
using protocol::PutBytes;
using protocol::PutText;
using protocol::ReadPadded;
using protocol::TextIn;

/// The answer to a request if it says only that the request was accepted.
inline Bytes Acknowledgement()
{
    return {0};
}

}  // namespace pelacon::service
