// What Bluetooth LE and GATT operations return when there is no answer.
#pragma once

#include <PelaconSDK/BleStatus.h>
#include <protocol/Operation.h>
#include <sdk/ipc/Exchange.h>

namespace pelacon {

inline constexpr Failures<BleStatusC> kBleFailures{kBleStatusFailed, kBleStatusNoReply};

/// The result of an operation whose reply is a status and nothing else.
inline BleStatusC BleStatusOf(const protocol::StatusReply& reply)
{
    return static_cast<BleStatusC>(reply.status);
}

}  // namespace pelacon
