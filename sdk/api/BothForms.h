// Operations that the C++ form and the C form have in common, as only the C form can be given a
// length that is wrong, or no text at all.
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
