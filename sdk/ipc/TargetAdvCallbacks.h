// The callbacks for the targeted advertisements of a business.
#pragma once

#include <PelaconSDK/BleScanner.h>
#include <os/Lock.h>
#include <sdk/ipc/Registry.h>

#include <cstdint>

namespace pelacon {

class TargetAdvCallbacks {
  public:
    /// Keeps the table for the business; a null table, or one for a business that has one, is not
    /// kept.
    void AddTargetAdvCb(int business, VoviewRecvAdvCallbacksC* callbacks);
    void RemoveTargetAdvCb(int business);

    /// Calls the table of the advertisement's business, on a detached thread.
    void OnRecvTargetAdv(const TargetAdvInfo& info);

    /// The body of such a thread. It has the table's slot rather than the table, so that the table
    /// is not needed after its business is unregistered.
    static void OnRecvTargetAdvThread(void (*slot)(TargetAdvInfo), const TargetAdvInfo& info);

  private:
    os::Lock lock_;
    KeyedRegistry<std::int32_t, VoviewRecvAdvCallbacksC*> tables_;
};

}  // namespace pelacon
