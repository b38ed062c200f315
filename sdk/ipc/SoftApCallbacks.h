// Who hears of the Wi-Fi Direct group and its stations, and what is known of both meanwhile.
#pragma once

#include <PelaconSDK/Vod2dGroup.h>
#include <os/Lock.h>
#include <protocol/Vod2dGroup.h>
#include <sdk/ipc/Registry.h>

#include <atomic>
#include <cstdint>
#include <set>
#include <string>

namespace pelacon {

class SoftApCallbacks {
  public:
    /// Null is ignored, and a table that is there already is not added again.
    void AddSoftAPStateChanged(Vod2dWifiBroadcastRecvCb* table);
    void RemoveSoftAPStateChanged(Vod2dWifiBroadcastRecvCb* table);
    bool HasSoftAPStateChanged() const;

    /// A creation got no answer in time: a group that appears next is the late one. Where the
    /// creation reached no service, nothing can come late.
    void SetCreateGroupTimeOut(bool canComeLate = true);

    /// Tells every table of a change of the group, in the order of registration, with the registry
    /// locked; or removes a group whose creation nobody waits for any more.
    void SoftAPGroupsChangeCallBack(const std::uint8_t* record);

    /// Tells every table of a station, likewise, and keeps account of those that are connected.
    void SoftAPConnectionStateChangeCallBack(const std::uint8_t* record);

    /// The service has started anew, and knows no station: tells every table that each is gone.
    void WifiExceptCallback();

  private:
    void CountStation(const protocol::StationChange& change);

    mutable os::Lock lock_;
    OrderedList<Vod2dWifiBroadcastRecvCb*> tables_;
    std::set<std::string> stations_;  // connected ones, by address; known while there are tables
    std::atomic<bool> createTimedOut_{false};
};

/// Fills what is told of a station that is gone. False, with a line, when the name does not fit.
bool FillDeparture(const std::string& station, Vod2dStationChange& change);

}  // namespace pelacon
