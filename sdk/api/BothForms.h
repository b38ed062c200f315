// Operations that both forms call. The C form may be given what the C++ form cannot: a wrong
// length, or a null text.
#pragma once

#include <PelaconSDK/BleGattServer.h>
#include <PelaconSDK/BleManager.h>

#include <string>
#include <string_view>

namespace pelacon {

/// Sets the adapter's name, which is read only if it is not too long.
BleStatusC SetAdapterName(std::string_view name);

/// Adds a service to a GATT server; refuses a null UUID.
BleStatusC AddGattService(std::int32_t serverId, const std::string* serviceUuid,
                          std::int32_t* serviceHandle);

}  // namespace pelacon
