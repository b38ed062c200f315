// How the contract with the service is written down: one constant per operation and notification
// ties an id to its records; the records are structs of fixed-width fields, little-endian as on the
// wire. The library sends them, the service serves them, and the tracer prints them.
#pragma once

#include <chrono>
#include <cstdint>
#include <type_traits>

namespace pelacon::protocol {

/// Module that requests go to, and module that notifications come to.
inline constexpr std::int32_t kServiceModule = 0xD70000;
inline constexpr std::int32_t kSdkModule = 0xD80000;

/// The pipe between the two, and three more names of the same family that are not used here.
inline constexpr wchar_t kServicePipe[] = L"\\\\.\\Pipe\\KvPelaconService";
inline constexpr wchar_t kAssistantPipe[] = L"\\\\.\\Pipe\\iRendoAssistant";
inline constexpr wchar_t kBasicServicePipe[] = L"\\\\.\\Pipe\\iRendoBasicService";
inline constexpr wchar_t kVoviewServicePipe[] = L"\\\\.\\Pipe\\iVoviewService";

/// A message without payload.
struct Nothing {};

/// A payload that is NUL-terminated text of any length.
struct Text {};

/// A payload of any number of bytes, described where the operation is.
struct Bytes {};

/// A reply that only says that the request was taken: its bytes mean nothing.
using Acknowledged = Bytes;

/// A request and its reply. A record type is one of the three above or a wire record.
template <typename RequestRecord, typename ReplyRecord>
struct Operation {
    std::int32_t id;
    const char* name;
    std::chrono::milliseconds timeout;
};

/// A message that the service sends by itself.
template <typename Record>
struct Notification {
    std::int32_t id;
    const char* name;
};

/// Bytes that a record takes on the wire at least; 0 for nothing, text and bytes.
template <typename Record>
constexpr std::uint32_t WireSize()
{
    if constexpr (std::is_empty_v<Record>) {
        return 0;
    } else {
        static_assert(std::is_trivially_copyable_v<Record>);
        return sizeof(Record);
    }
}

/// Replies that many operations share.
struct StatusReply {
    std::int32_t status;
};
struct ValueStatusReply {
    std::int32_t value;
    std::int32_t status;
};
struct ByteReply {
    std::uint8_t value;
};
struct Int32Record {
    std::int32_t value;
};

/// A request that is yes or no.
struct FlagRequest {
    std::uint8_t flag;
};
static_assert(sizeof(StatusReply) == 4);
static_assert(sizeof(ValueStatusReply) == 8);
static_assert(sizeof(ByteReply) == 1);
static_assert(sizeof(Int32Record) == 4);
static_assert(sizeof(FlagRequest) == 1);

}  // namespace pelacon::protocol
