// Connection errors that the service tells of by itself.
#pragma once

#include <protocol/Operation.h>

namespace pelacon::protocol {

/// The code of a connection error.
inline constexpr Notification<Int32Record> kErrorStatus{0xD80028, "ErrorStatus"};

}  // namespace pelacon::protocol
