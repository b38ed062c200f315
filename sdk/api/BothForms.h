// Operations that both forms call. The C form may be given what the C++ form cannot: a wrong
// length, or a null text, and says more of what happened.
#pragma once

#include <PelaconSDK/BleGattServer.h>
#include <PelaconSDK/BleManager.h>
#include <PelaconSDK/SoftAp.h>

#include <list>
#include <string>
#include <string_view>

namespace pelacon {

/// Sets the adapter's name, which is read only if it is not too long.
BleStatusC SetAdapterName(std::string_view name);

/// Adds a service to a GATT server; refuses a null UUID.
BleStatusC AddGattService(std::int32_t serverId, const std::string* serviceUuid,
                          std::int32_t* serviceHandle);

/// Creates the soft AP; `answered` becomes true when there was an answer.
int CreateSoftAp(SoftAPInfo& info, bool& answered);

/// The channels that this computer supports, as texts and as numbers; false when unanswered.
bool ReadPcChannels(std::string& channels24G, std::string& channels5G, int& current);
bool ReadPcChannels(std::list<int>& channels24G, std::list<int>& channels5G, int& current);

}  // namespace pelacon
