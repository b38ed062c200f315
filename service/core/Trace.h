// Messages in the log, by name.
#pragma once

#include <service/core/Wire.h>

#include <chrono>
#include <cstdint>
#include <string>

namespace pelacon::service {

/// A message to the service as people know it: its name and id, or its id alone.
std::string RequestName(std::int32_t id, std::size_t payloadLength);
std::string NotificationName(std::int32_t id);

/// Bytes as hexadecimal, at most so many of them.
std::string HexOf(ByteView bytes, std::size_t most = 64);

/// Lines at debug level; their bytes as well at trace level. One load where nobody wants them.
void TraceRequest(std::uint64_t clientId, std::int32_t id, ByteView payload);
void TraceReply(std::uint64_t clientId, std::int32_t id, std::size_t requestLength,
                ByteView payload, std::chrono::steady_clock::duration took);
void TraceNotification(std::uint64_t clientId, std::int32_t id, ByteView payload, bool sent);

}  // namespace pelacon::service
