// The callbacks for the Wi-Fi Direct group and its stations, and what the library knows of both.
#pragma once

#include <PelaconSDK/Vod2dGroup.h>
#include <os/Lock.h>
#include <protocol/Vod2dGroup.h>
#include <sdk/ipc/Registry.h>

#include <atomic>
#include <set>
#include <string>

namespace pelacon {

class GroupCallbacks {
  public:
    /// Null is ignored, and a registered table is not added again.
    void AddSoftAPStateChanged(Vod2dWifiBroadcastRecvCb* table);
    void RemoveSoftAPStateChanged(Vod2dWifiBroadcastRecvCb* table);
    bool HasSoftAPStateChanged() const;

    /// A creation got no answer in time: if the next change is that a group exists, it is the late
    /// one, and this function removes it. Null where the creation reached no service, so that
    /// nothing can come late.
    using RemoveGroup = WifiErrorCode (*)();
    void SetCreateGroupTimeOut(RemoveGroup removeLateGroup);

    /// Calls every table for a change of the group, in the order of registration, with the registry
    /// locked; or removes a late group.
    void SoftAPGroupsChangeCallBack(const protocol::GroupChange* record);

    /// Calls every table for a station, likewise, and records which stations are connected.
    void SoftAPConnectionStateChangeCallBack(const protocol::StationChange* record);

    /// The service was restarted, and has no stations: calls every table for each that has gone.
    void WifiExceptCallback();

  private:
    void CountStation(const protocol::StationChange& change);

    mutable os::Lock lock_;
    OrderedList<Vod2dWifiBroadcastRecvCb*> tables_;
    std::set<std::string> stations_;  // connected ones, by address; known while there are tables
    std::atomic<RemoveGroup> removeLateGroup_{nullptr};
};

/// Fills the change for a station that has gone. False, with a line, when the name does not fit.
bool FillDeparture(const std::string& station, Vod2dStationChange& change);

}  // namespace pelacon
