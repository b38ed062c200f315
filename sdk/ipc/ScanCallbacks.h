// The callbacks of scan listeners.
#pragma once

#include <PelaconSDK/BleScanner.h>
#include <os/Lock.h>
#include <protocol/BleScanner.h>
#include <sdk/ipc/Registry.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace pelacon {

class ScanCallbacks {
  public:
    /// Keeps the table under the id; a null table, or one for an id that is taken, is not kept.
    void AddScanCb(BleScanCallbacksC* callbacks, int listenerId);

    /// Removes the id's table. Whether the id counts as scanning does not change.
    void RemoveScanCb(int listenerId);

    /// Counts the id among those that scan, once.
    void ScanStart(int listenerId);
    void ScanStop(int listenerId);

    /// Calls the listener's table, with the registry locked.
    void OnScanStatus(const protocol::ScanStatusRecord& record);

    /// Calls the table of every listener that scans, each on a detached thread of its own with a
    /// copy of the result. Where a thread cannot be created, its listener misses the result.
    void OnScanResult(const protocol::ScanResultRecord& record);

    /// The lowest ids that have a table, in ascending order, at most `most`.
    std::vector<std::int32_t> LowestScanIds(std::size_t most);

  private:
    os::Lock lock_;  // held while a status callback runs
    KeyedRegistry<std::int32_t, BleScanCallbacksC*> tables_;

    // Never held while application code runs, so starts and stops need not wait for a callback and
    // are recorded in the order in which the service took them. Taken after lock_, if both are.
    os::Lock scanningLock_;
    OrderedList<std::int32_t> scanning_;  // in the order of their starts, without duplicates
};

}  // namespace pelacon
