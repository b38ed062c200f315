// The shapes that nearly all requests of WifiSystemApi have.
#pragma once

#include <os/Lock.h>
#include <protocol/Operation.h>
#include <sdk/diag/Log.h>
#include <sdk/ipc/Exchange.h>

#include <string>
#include <type_traits>

namespace pelacon {

/// Held by an operation that is serialised as long as it lasts.
inline std::unique_lock<os::Lock> LockSoftApMutex()
{
    static constinit os::Lock softApLock;
    return std::unique_lock(softApLock);
}

/// The value of a reply that consists of one.
template <typename Result>
struct ValueOf {
    Result operator()(const std::string& text) const { return text; }

    template <typename Record>
    Result operator()(const Record& reply) const
    {
        if constexpr (std::is_same_v<Result, bool>) {
            return reply.value != 0;
        } else {
            return static_cast<Result>(reply.value);
        }
    }
};

/// What an operation returns that is not sent or not answered.
template <typename Result>
Failures<Result> Unanswered(Result result)
{
    return {result, result};
}

/// Asks for a value.
template <typename Result, typename Request, typename Reply>
Result Ask(const char* function, const protocol::Operation<Request, Reply>& operation,
           const typename detail::RequestArgument<Request>::Type& request, Result unanswered)
{
    diag::LogStart(function);
    return Exchange(function, operation, request, Unanswered(unanswered), ValueOf<Result>{});
}

/// The same, serialised.
template <typename Result, typename Request, typename Reply>
Result AskSerialised(const char* function, const protocol::Operation<Request, Reply>& operation,
                     const typename detail::RequestArgument<Request>::Type& request,
                     Result unanswered)
{
    diag::LogStart(function);
    const auto lock = LockSoftApMutex();
    return Exchange(function, operation, request, Unanswered(unanswered), ValueOf<Result>{});
}

/// What becomes of an answer that says nothing.
struct Acknowledge {
    protocol::Nothing operator()(const std::uint8_t* /*reply*/) const { return {}; }
};
inline constexpr Failures<protocol::Nothing> kUnacknowledged{};

/// Tells the service something; what it answers does not matter.
template <typename Request>
void Tell(const char* function,
          const protocol::Operation<Request, protocol::Acknowledged>& operation,
          const typename detail::RequestArgument<Request>::Type& request)
{
    diag::LogStart(function);
    Exchange(function, operation, request, kUnacknowledged, Acknowledge{});
}

}  // namespace pelacon
