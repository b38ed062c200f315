// Operations of WifiSystemApi.
#pragma once

#include <sdk/api/Call.h>

#include <utility>

namespace pelacon {

inline constinit os::Lock softApLock;

/// An operation that returns `unanswered` when its request is not sent or not answered; without
/// one it returns nothing.
template <typename Result>
class WifiCall : public Call<Result> {
  public:
    explicit WifiCall(const char* function, Result unanswered = {}, os::Lock* lock = nullptr)
        : Call<Result>(function, unanswered, unanswered, lock)
    {}
};
WifiCall(const char*)->WifiCall<protocol::Nothing>;

/// One that runs while no other one of its kind does.
template <typename Result>
class SerialisedCall : public WifiCall<Result> {
  public:
    explicit SerialisedCall(const char* function, Result unanswered = {})
        : WifiCall<Result>(function, std::move(unanswered), &softApLock)
    {}
};
SerialisedCall(const char*)->SerialisedCall<protocol::Nothing>;

}  // namespace pelacon
