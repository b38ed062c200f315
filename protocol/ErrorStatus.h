// Connection errors that the service reports without a request.
#pragma once

#include <protocol/Operation.h>

namespace pelacon::protocol {

/// The code of a connection error.
inline constexpr Notification<Int32Record> kErrorStatus{0xD80028, "ErrorStatus"};

}  // namespace pelacon::protocol
