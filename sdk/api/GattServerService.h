// Adding a service, as both forms of it do: only the C form can be given no text at all.
#pragma once

#include <PelaconSDK/BleGattServer.h>

#include <string>

namespace pelacon {

BleStatusC AddGattService(std::int32_t serverId, const std::string* serviceUuid,
                          std::int32_t* serviceHandle);

}  // namespace pelacon
