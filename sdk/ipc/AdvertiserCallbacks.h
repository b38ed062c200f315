// The callbacks of advertisers.
#pragma once

#include <PelaconSDK/BleAdvertiser.h>
#include <os/Lock.h>
#include <protocol/BleAdvertiser.h>
#include <sdk/ipc/Registry.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace pelacon {

class AdvertiserCallbacks {
  public:
    /// Keeps the table under the id; a null table, or one for an id that is taken, is not kept.
    void AddAdvCb(BleAdvCallbacksC* callbacks, int advId);
    void RemoveAdvCb(int advId);

    /// Calls the advertiser's table, with the registry locked.
    void AdvertiseDisableCallback(const protocol::AdvertiserStatusRecord& record);

    /// The lowest ids that have a table, in ascending order, at most `most`.
    std::vector<std::int32_t> LowestAdvIds(std::size_t most);

  private:
    os::Lock lock_;
    KeyedRegistry<std::int32_t, BleAdvCallbacksC*> tables_;
};

}  // namespace pelacon
