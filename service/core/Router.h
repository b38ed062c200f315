// Which handler answers which request.
#pragma once

#include <protocol/Operation.h>
#include <service/core/Session.h>
#include <service/core/Wire.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

namespace pelacon::service {

namespace detail {

/// What a handler is given, by the kind of its request.
template <typename Request>
auto Decode(ByteView payload)
{
    if constexpr (std::is_same_v<Request, protocol::Nothing>) {
        return protocol::Nothing{};
    } else if constexpr (std::is_same_v<Request, protocol::Text>) {
        return TextIn(payload);
    } else if constexpr (std::is_same_v<Request, protocol::Bytes>) {
        return payload;
    } else {
        return ReadPadded<Request>(payload);
    }
}

template <typename Record>
Bytes Encode(const Record& record)
{
    const ByteView bytes = AsBytes(record);
    return {bytes.begin(), bytes.end()};
}
inline Bytes Encode(const std::string& text)
{
    return {text.c_str(), text.c_str() + text.size() + 1};
}
inline Bytes Encode(Bytes bytes)
{
    return bytes;
}

/// What a handler returns, by the kind of its reply.
template <typename Reply>
struct ReplyOf {
    using Type = Reply;
};
template <>
struct ReplyOf<protocol::Nothing> {
    using Type = void;
};
template <>
struct ReplyOf<protocol::Text> {
    using Type = std::string;
};
template <>
struct ReplyOf<protocol::Bytes> {
    using Type = Bytes;
};

}  // namespace detail

/// Requests by id, and by the length of their payload where one id names two operations.
class Router {
  public:
    /// Answers a payload; nothing where the operation has no reply.
    using Handler = std::function<std::optional<Bytes>(Session&, ByteView payload)>;

    struct Route {
        const char* name;
        std::uint32_t requestSize;
        Handler handler;
    };

    /// Has the handler serve the operation. It is called under the world's lock, as
    /// `Reply(Session&, const Request&)`: a record of any length comes padded with zeros, a Text as
    /// std::string_view, Bytes as ByteView; it returns a record, std::string or Bytes, and nothing
    /// for an operation without a reply. An empty std::optional of these is answered without
    /// payload; so is what it throws, which is logged.
    template <typename Request, typename Reply, typename Function>
    void Serve(const protocol::Operation<Request, Reply>& operation, Function handler)
    {
        using Result = typename detail::ReplyOf<Reply>::Type;
        Add(operation.id, {operation.name, protocol::WireSize<Request>(),
                           [handler = std::move(handler)](
                               Session& session, ByteView payload) -> std::optional<Bytes> {
                               const auto request = detail::Decode<Request>(payload);
                               if constexpr (std::is_void_v<Result>) {
                                   handler(session, request);
                                   return std::nullopt;
                               } else {
                                   const std::optional<Result> result = handler(session, request);
                                   return result ? std::optional(detail::Encode(*result))
                                                 : std::nullopt;
                               }
                           }});
    }

    /// The route for such a request; null when nobody serves it. Of two with one id, the one whose
    /// record is as long as the payload, or else the one with the longer record.
    const Route* Find(std::int32_t id, std::size_t payloadLength) const;

  private:
    void Add(std::int32_t id, Route route);

    std::unordered_map<std::int32_t, std::vector<Route>> routes_;  // the longest record first
};

}  // namespace pelacon::service
