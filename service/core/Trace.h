// Requests, replies and notifications in the log.
#pragma once

#include <service/core/Wire.h>

#include <chrono>
#include <cstdint>
#include <string>

namespace pelacon::service {

/// A request's name and id, or only its id if it has no name.
std::string RequestName(std::int32_t id, std::size_t payloadLength);

/// Bytes in hexadecimal, cut after a number of them.
std::string HexOf(ByteView bytes, std::size_t most = 64);

/// Logs at debug level, with the bytes at trace level. Costs one load at other levels.
void TraceRequest(std::uint64_t clientId, std::int32_t id, ByteView payload);
void TraceReply(std::uint64_t clientId, std::int32_t id, std::size_t requestLength,
                ByteView payload, std::chrono::steady_clock::duration took);
void TraceNotification(std::uint64_t clientId, std::int32_t id, ByteView payload, bool sent);

}  // namespace pelacon::service
