// The request pattern, once: every operation of the library is one exchange with the service.
#pragma once

#include <protocol/Codec.h>
#include <protocol/Operation.h>
#include <sdk/diag/Log.h>
#include <sdk/ipc/IPCMessageSender.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <string_view>
#include <type_traits>

namespace pelacon {

/// What an operation returns when its request is not sent, or is not answered, and what it does
/// first. A missing answer is logged after that.
template <typename Result>
struct Failures {
    Result notSent;
    Result noReply;
    std::function<void()> whenNotSent = {};
    std::function<void()> whenNoReply = {};
};

/// The record that a notification's payload begins with. Uses the layout of the record only: the
/// message client provides payloads that have room for any record.
template <typename Record>
Record ReadRecord(const std::uint8_t* payload)
{
    return protocol::ReadPadded<Record>({payload, sizeof(Record)});
}

/// A notification's record in place, for handlers that pass on pointers into it. Payloads are
/// aligned as memory from malloc is.
template <typename Record>
const Record* RecordIn(const std::uint8_t* payload)
{
    return reinterpret_cast<const Record*>(payload);
}

namespace detail {

/// A reply that owns its payload.
struct ReplyItem : TagIPCMessageItem {
    ReplyItem() = default;
    ~ReplyItem() { std::free(message); }
    ReplyItem(const ReplyItem&) = delete;
    ReplyItem& operator=(const ReplyItem&) = delete;
};

/// A size that does not fit the length field becomes a length that does not fit a frame.
inline std::uint32_t LengthOf(std::size_t size)
{
    return static_cast<std::uint32_t>(
        std::min<std::size_t>(size, std::numeric_limits<std::uint32_t>::max()));
}

/// A reply's payload. A reply without a length has the length of its record, or is a text that ends
/// with a NUL.
template <typename Reply>
protocol::ByteView PayloadOf(const TagIPCMessageItem& reply)
{
    if (reply.length != 0) {
        return {reply.message, reply.length};
    }
    if constexpr (std::is_same_v<Reply, protocol::Text>) {
        return {reply.message, std::strlen(reinterpret_cast<const char*>(reply.message))};
    } else {
        return {reply.message, protocol::WireSize<Reply>()};
    }
}

/// The argument of a reply's handler: a std::string if the reply is text, otherwise what the codec
/// reads.
template <typename Reply>
auto Decoded(const TagIPCMessageItem& reply)
{
    const auto read = protocol::Payload<Reply>::Read(PayloadOf<Reply>(reply));
    if constexpr (std::is_same_v<Reply, protocol::Text>) {
        return std::string(read);
    } else {
        return read;
    }
}

}  // namespace detail

/// Sends the operation's request and waits for its reply. Without an answer the result is the one
/// in the failures; with one it is what `onReply` makes of the decoded reply, and `lastLine` is
/// logged. A text request is a std::string, sent with its NUL; a text reply ends at its first NUL.
template <typename Request, typename Reply, typename Result, typename OnReply>
Result Exchange(std::string_view function, const protocol::Operation<Request, Reply>& operation,
                const typename protocol::Payload<Request>::Given& request,
                const Failures<Result>& failures, const OnReply& onReply,
                std::string_view lastLine = "end")
{
    detail::ReplyItem reply;
    const protocol::ByteView payload = protocol::Payload<Request>::View(request);
    if (!IPCMessageSender::GetInstance().SendIPCMessageToService(
            operation.id, payload.data(), detail::LengthOf(payload.size()),
            static_cast<std::uint32_t>(operation.timeout.count()), reply)) {
        if (failures.whenNotSent) {
            failures.whenNotSent();
        }
        return failures.notSent;
    }
    if (reply.message == nullptr) {
        if (failures.whenNoReply) {
            failures.whenNoReply();
        }
        diag::LogNoReply(function);
        return failures.noReply;
    }
    Result result = onReply(detail::Decoded<Reply>(reply));
    diag::Log(kLogTrace, function, lastLine);
    return result;
}

}  // namespace pelacon
