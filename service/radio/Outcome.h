// The results of operations of radios.
#pragma once

#include <cstdint>
#include <functional>

namespace pelacon::service::radio {

/// The result of an operation, or the reason why an activity ended by itself.
enum class Outcome : std::uint8_t {
    kDone,
    kNoAdapter,     ///< there is none, or it is gone
    kOff,           ///< the adapter is, or was, switched off
    kBlocked,       ///< a switch of the machine keeps the adapter off
    kNotPermitted,  ///< this process may not do it
    kLimitReached,  ///< the adapter does as many of these as it can
    kFailed,
};

using OutcomeDone = std::function<void(Outcome)>;

}  // namespace pelacon::service::radio
