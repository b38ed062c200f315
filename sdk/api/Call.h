// What every operation of an exported class has in common.
#pragma once

#include <os/Lock.h>
#include <protocol/Operation.h>
#include <protocol/ServiceStatus.h>
#include <sdk/diag/Log.h>
#include <sdk/ipc/Exchange.h>

#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace pelacon {

/// The result of an operation whose reply is a status or one value.
template <typename Result>
struct ResultOf {
    Result operator()(const std::string& text) const { return text; }
    Result operator()(protocol::ByteView /*acknowledgement*/) const { return {}; }

    template <typename Record>
    Result operator()(const Record& reply) const
    {
        if constexpr (requires { reply.status; }) {
            return static_cast<Result>(reply.status);
        } else if constexpr (std::is_same_v<Result, bool>) {
            return reply.value != 0;
        } else {
            return static_cast<Result>(reply.value);
        }
    }
};

/// A call of an operation, from its first line to its last: made first, it logs that the operation
/// starts, and holds the lock of its class until it is destroyed.
template <typename Result>
class Call {
  public:
    Call(const char* function, Result notSent, Result noReply, os::Lock* lock = nullptr,
         std::string_view firstLine = "start")
        : function_(function), failures_{std::move(notSent), std::move(noReply)}
    {
        Log(kLogTrace, firstLine);
        if (lock != nullptr) {
            Lock(*lock);
        }
    }

    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    const char* Function() const { return function_; }

    void Lock(os::Lock& lock) { lock_ = std::unique_lock(lock); }

    /// Called before a registry is changed, see os::Lock.
    void Unlock() { lock_.unlock(); }

    template <typename... Pieces>
    void Log(LOG_MESSAGE_LEVEL level, const Pieces&... pieces) const
    {
        diag::Log(level, function_, pieces...);
    }

    /// Refuses an argument: logs why, and returns the result.
    Result Refuse(LOG_MESSAGE_LEVEL level, std::string_view why) const
    {
        return Refuse(level, why, failures_.notSent);
    }
    Result Refuse(LOG_MESSAGE_LEVEL level, std::string_view why, Result result) const
    {
        Log(level, why);
        return result;
    }

    /// Whether an argument is null, which is logged.
    bool IsNull(const char* argument, const void* value) const
    {
        if (value == nullptr) {
            Log(kLogIncomplete, argument, " is nullptr, return");
        }
        return value == nullptr;
    }

    /// What is done first when the request is not sent, or not answered.
    template <typename Action>
    void WhenNotSent(Action&& action)
    {
        failures_.whenNotSent = std::forward<Action>(action);
    }
    template <typename Action>
    void WhenNoReply(Action&& action)
    {
        failures_.whenNoReply = std::forward<Action>(action);
    }

    /// Logs this line at the end of an answered request, in place of "end".
    void EndWith(std::string line) { lastLine_ = std::move(line); }

    /// Sends the request and waits for its reply; the result is made of that by `onReply`.
    template <typename Request, typename Reply, typename OnReply = ResultOf<Result>>
    Result Send(const protocol::Operation<Request, Reply>& operation,
                const typename protocol::Payload<Request>::Given& request,
                const OnReply& onReply = {})
    {
        return Exchange(function_, operation, request, failures_, onReply, lastLine_);
    }

    /// For Send, where the reply has a status: on success `change` is called with the reply, and
    /// without the lock, as it may change a registry (see os::Lock).
    template <typename Change>
    auto Then(const Change& change)
    {
        return [this, &change](const auto& reply) {
            if (reply.status == protocol::kStatusDone) {
                if (lock_.owns_lock()) {
                    Unlock();
                }
                change(reply);
            }
            return ResultOf<Result>()(reply);
        };
    }

  private:
    const char* function_;
    Failures<Result> failures_;
    std::string lastLine_ = "end";
    std::unique_lock<os::Lock> lock_;
};

}  // namespace pelacon
