// The handlers of requests.
#pragma once

#include <protocol/Codec.h>
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

/// Finds a request's handler by id, and by the payload's length if two operations have the same id.
class Router {
  public:
    /// Returns the reply's payload; nothing if the operation has no reply.
    using Handler = std::function<std::optional<Bytes>(Session&, ByteView payload)>;

    struct Route {
        const char* name;
        std::uint32_t requestSize;
        Handler handler;
    };

    /// Registers the operation's handler. It is called with the scheduler's lock held, and takes
    /// the session and the request, or only what it needs of the two. A record is padded with zeros
    /// if the payload is short; Text is a std::string_view, Bytes is a ByteView. The handler
    /// returns a record (or the value of its only field), std::string or Bytes, and nothing for an
    /// operation without reply. If it returns an empty std::optional of these, or throws, the
    /// request is answered without payload; exceptions are logged.
    template <typename Request, typename Reply, typename Function>
    void Serve(const protocol::Operation<Request, Reply>& operation, Function handler)
    {
        Add(operation.id, {operation.name, protocol::WireSize<Request>(),
                           [handler = std::move(handler)](
                               Session& session, ByteView payload) -> std::optional<Bytes> {
                               const auto request = protocol::Payload<Request>::Read(payload);
                               if constexpr (std::is_same_v<Reply, protocol::Nothing>) {
                                   Call(handler, session, request);
                                   return std::nullopt;
                               } else {
                                   return Encode<Reply>(Call(handler, session, request));
                               }
                           }});
    }

    /// The route of such a request; null if it has no handler. Of two with the same id, the one
    /// whose record is as long as the payload, otherwise the one with the longer record.
    const Route* Find(std::int32_t id, std::size_t payloadLength) const;

  private:
    template <typename Function, typename Request>
    static auto Call(const Function& handler, Session& session, const Request& request)
    {
        if constexpr (std::is_invocable_v<const Function&, Session&, const Request&>) {
            return handler(session, request);
        } else if constexpr (std::is_invocable_v<const Function&, const Request&>) {
            return handler(request);
        } else if constexpr (std::is_invocable_v<const Function&, Session&>) {
            return handler(session);
        } else {
            return handler();
        }
    }

    /// The payload with a handler's result.
    template <typename Reply, typename Value>
    static std::optional<Bytes> Encode(const Value& value)
    {
        using Owned = typename protocol::Payload<Reply>::Owned;
        if constexpr (std::is_convertible_v<const Value&, const Owned&>) {
            const Owned& reply = value;
            const ByteView payload = protocol::Payload<Reply>::View(reply);
            return Bytes(payload.begin(), payload.end());
        } else {
            static_assert(sizeof(Owned) == sizeof(Value), "the record has other fields, too");
            return Encode<Reply>(Owned{value});
        }
    }
    template <typename Reply, typename Value>
    static std::optional<Bytes> Encode(const std::optional<Value>& value)
    {
        return value ? Encode<Reply>(*value) : std::nullopt;
    }

    void Add(std::int32_t id, Route route);

    std::unordered_map<std::int32_t, std::vector<Route>> routes_;  // the longest record first
};

}  // namespace pelacon::service
