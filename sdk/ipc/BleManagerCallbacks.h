// The callbacks for the adapter's state.
#pragma once

#include <PelaconSDK/BleManager.h>
#include <os/Lock.h>
#include <sdk/ipc/Registry.h>

#include <cstdint>

namespace pelacon {

class BleManagerCallbacks {
  public:
    void AddBleManagerCb(BtManagerCallbacksC* table);
    void RemoveBleManagerCb(BtManagerCallbacksC* table);

    /// Calls every table, in the order of registration, with the registry locked.
    void OnBtStateChanged(std::int32_t state);

  private:
    os::Lock lock_;
    OrderedList<BtManagerCallbacksC*> tables_;
};

}  // namespace pelacon
