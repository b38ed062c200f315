// The callbacks of GATT servers, with their services and characteristics.
#pragma once

#include <PelaconSDK/BleGattServer.h>
#include <os/Lock.h>
#include <protocol/GattServer.h>
#include <sdk/ipc/Registry.h>

#include <cstdint>
#include <string>
#include <vector>

namespace pelacon {

class GattServerCallbacks {
  public:
    /// Changes of the registry. Adding an existing entry and using a missing one change nothing,
    /// and are logged. A null table of a server is ignored.
    void AddGattServer(BtGattServerCallbacksC* callbacks, std::int32_t serverId);
    void RemoveGattServer(std::int32_t serverId);
    void AddGattServerService(std::int32_t serverId, std::int32_t serviceHandle,
                              const std::string& serviceUuid);
    void RemoveGattServerService(std::int32_t serverId, std::int32_t serviceHandle);
    void AddGattServerCharacteristic(std::int32_t serverId, std::int32_t serviceHandle,
                                     const BLECharacteristicInfo* info,
                                     BtGattCharCallbacksC* callbacks);

    /// Call the server's table, with the registry locked. A null record is ignored.
    void ConnectServerCallback(const protocol::GattPeerRecord* record);
    void DisconnectServerCallback(const protocol::GattPeerRecord* record);
    void NotifySendCallback(const protocol::GattPeerValueRecord* record);
    void MtuChangeCallback(const protocol::GattPeerValueRecord* record);

    /// Call the characteristic's table, with the registry locked. A null record is logged.
    void OnServerReadCallback(const protocol::GattPeerRequestRecord* record);
    void OnServerWriteCallback(const protocol::GattPeerRequestRecord* record);

  private:
    struct Characteristic {
        std::string uuid;
        BtGattCharCallbacksC* callbacks;
    };
    struct Service {
        std::string uuid;
        std::vector<Characteristic> characteristics;

        const Characteristic* Find(const std::string& charUuid) const;
    };
    struct Server {
        BtGattServerCallbacksC* callbacks;
        KeyedRegistry<std::int32_t, Service> services;
    };

    Server* FindServer(const char* function, std::int32_t serverId);
    Service* FindService(const char* function, std::int32_t serverId, std::int32_t serviceHandle);

    template <typename Record, typename Slot, typename... Values>
    void CallServer(const char* function, const char* text, const Record* record, Slot slot,
                    Values... values);

    template <typename Slot>
    void CallCharacteristic(const char* function, const char* text,
                            const protocol::GattPeerRequestRecord* record, Slot slot);

    os::Lock lock_;
    KeyedRegistry<std::int32_t, Server> servers_;
};

}  // namespace pelacon
