// The callbacks of GATT clients.
#pragma once

#include <PelaconSDK/BleGattClient.h>
#include <os/Lock.h>
#include <protocol/GattClient.h>
#include <sdk/ipc/Registry.h>

#include <cstdint>

namespace pelacon {

class GattClientCallbacks {
  public:
    /// Keeps the table for a client id that has none yet; null is ignored.
    void AddBleGattClientCb(BtGattClientCallbacksC* callbacks, std::int32_t clientId);

    /// Call the client's table, with the registry locked. A null record is ignored.
    void OnConnectionStateCallback(const protocol::GattConnectionState* record);
    void OnNotificationReceiveCallback(const protocol::GattValueRecord* record);

  private:
    BtGattClientCallbacksC TableOf(std::int32_t clientId);

    os::Lock lock_;
    KeyedRegistry<std::int32_t, BtGattClientCallbacksC*> tables_;
};

}  // namespace pelacon
