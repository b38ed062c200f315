// The request pattern, once: every operation of the library is one exchange with the service.
#pragma once

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
#include <span>
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

/// Text in a fixed field, up to its NUL or the field's end.
template <std::size_t Size>
std::string FixedText(const char (&field)[Size])
{
    const void* end = std::memchr(field, '\0', Size);
    return {field, end != nullptr ? static_cast<const char*>(end) : field + Size};
}

/// The record that a notification's payload begins with. Uses the layout of the record only: the
/// message client provides payloads that have room for any record.
template <typename Record>
Record ReadRecord(const std::uint8_t* payload)
{
    Record record;
    std::memcpy(&record, payload, sizeof record);
    return record;
}

/// The record that a reply begins with; zero where the reply is shorter. A reply without a length
/// is read by the layout of the record.
template <typename Record>
Record ReadReply(const TagIPCMessageItem& reply)
{
    Record record{};
    const std::size_t length = reply.length != 0 ? reply.length : sizeof record;
    std::memcpy(&record, reply.message, std::min(length, sizeof record));
    return record;
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

struct PayloadView {
    const void* data = nullptr;
    std::uint32_t length = 0;
};

/// A size that does not fit the length field becomes a length that does not fit a frame.
inline std::uint32_t LengthOf(std::size_t size)
{
    return static_cast<std::uint32_t>(
        std::min<std::size_t>(size, std::numeric_limits<std::uint32_t>::max()));
}

template <typename Record>
PayloadView ViewOf(const Record& record)
{
    return {&record, protocol::WireSize<Record>()};
}
inline PayloadView ViewOf(const protocol::Nothing& /*none*/)
{
    return {};
}
inline PayloadView ViewOf(const std::string& text)
{
    return {text.c_str(), LengthOf(text.size() + 1)};
}
inline PayloadView ViewOf(const std::span<const std::uint8_t>& bytes)
{
    return {bytes.data(), LengthOf(bytes.size())};
}

/// The argument that an operation sends, by the kind of its request.
template <typename Request>
struct RequestArgument {
    using Type = Request;
};
template <>
struct RequestArgument<protocol::Text> {
    using Type = std::string;
};
template <>
struct RequestArgument<protocol::Bytes> {
    using Type = std::span<const std::uint8_t>;
};

template <typename Reply>
auto Decoded(const TagIPCMessageItem& reply)
{
    if constexpr (std::is_same_v<Reply, protocol::Text>) {
        return std::string(reinterpret_cast<const char*>(reply.message));
    } else if constexpr (std::is_same_v<Reply, protocol::Bytes>) {
        return static_cast<const std::uint8_t*>(reply.message);
    } else if constexpr (std::is_same_v<Reply, protocol::Nothing>) {
        return protocol::Nothing{};
    } else {
        return ReadReply<Reply>(reply);
    }
}

}  // namespace detail

/// Sends the operation's request and waits for its reply. Without an answer the result is the one
/// in the failures; with one it is what `onReply` makes of the decoded reply, and `lastLine` is
/// logged. A text request is a std::string, sent with its NUL; a text reply ends at its first NUL.
template <typename Request, typename Reply, typename Result, typename OnReply>
Result Exchange(std::string_view function, const protocol::Operation<Request, Reply>& operation,
                const typename detail::RequestArgument<Request>::Type& request,
                const Failures<Result>& failures, const OnReply& onReply,
                std::string_view lastLine = "end")
{
    detail::ReplyItem reply;
    const detail::PayloadView payload = detail::ViewOf(request);
    if (!IPCMessageSender::GetInstance().SendIPCMessageToService(
            operation.id, payload.data, payload.length,
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
