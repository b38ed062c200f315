#include <karvell_secure_c/securec.h>
#include <sdk/diag/Log.h>
#include <sdk/ipc/Application.h>
#include <sdk/ipc/Exchange.h>
#include <sdk/ipc/GroupCallbacks.h>

#include <cstddef>

namespace pelacon {

using diag::Log;
using diag::LogEnd;
using diag::LogStart;

// The application's record is padded at its end, so it is not the one on the wire.
static_assert(offsetof(Vod2dStationChange, address) == offsetof(protocol::StationChange, address));
static_assert(offsetof(Vod2dStationChange, ipAddress) ==
              offsetof(protocol::StationChange, ipAddress));

namespace {

/// Copies field by field, as far as it goes: false when a field does not fit.
bool CopyStation(const protocol::StationChange& from, Vod2dStationChange& to)
{
    to.state = from.state;
    return memcpy_s(to.address, sizeof to.address, from.address, sizeof from.address) == 0 &&
           memcpy_s(to.ipAddress, sizeof to.ipAddress, from.ipAddress, sizeof from.ipAddress) == 0;
}

}  // namespace

bool FillDeparture(const std::string& station, Vod2dStationChange& change)
{
    constexpr auto kFunction = "IPCMessageSender::WifiExceptCallback";
    change = {};
    change.state = kVod2dStationLeft;
    if (station.size() > sizeof change.address) {
        Log(kLogFailure, kFunction, "length too long!");
        return false;
    }
    if (memcpy_s(change.address, sizeof change.address, station.data(), station.size()) != 0) {
        Log(kLogFailure, kFunction, "memcpy error!");
        return false;
    }
    return true;
}

void GroupCallbacks::AddSoftAPStateChanged(Vod2dWifiBroadcastRecvCb* table)
{
    const std::lock_guard lock(lock_);
    if (table != nullptr && !tables_.AddOnce(table)) {
        Log(kLogTrace, "IPCMessageSender::AddSoftAPStateChanged", "callback already exist");
    }
}

void GroupCallbacks::RemoveSoftAPStateChanged(Vod2dWifiBroadcastRecvCb* table)
{
    const std::lock_guard lock(lock_);
    if (tables_.Remove(table)) {
        Log(kLogTrace, "IPCMessageSender::RemoveSoftAPStateChanged", "remove");
    }
}

bool GroupCallbacks::HasSoftAPStateChanged() const
{
    const std::lock_guard lock(lock_);
    return !tables_.Empty();
}

void GroupCallbacks::SetCreateGroupTimeOut(RemoveGroup removeLateGroup)
{
    constexpr auto kFunction = "IPCMessageSender::SetCreateGroupTimeOut";
    LogStart(kFunction);
    if (removeLateGroup != nullptr) {
        removeLateGroup_ = removeLateGroup;
    }
    LogEnd(kFunction);
}

void GroupCallbacks::SoftAPGroupsChangeCallBack(const protocol::GroupChange* record)
{
    constexpr auto kFunction = "IPCMessageSender::SoftAPGroupsChangeCallBack";
    LogStart(kFunction);
    if (record == nullptr) {
        Log(kLogFailure, kFunction, "null ptr");
        return;
    }
    const Vod2dGroupChange change = *record;
    if (const RemoveGroup removeLateGroup = removeLateGroup_.exchange(nullptr)) {
        Log(kLogTrace, kFunction, "last Create Group is timeout");
        if (change.state == kVod2dGroupExists) {
            Log(kLogTrace, kFunction, "after timeout, create success, remove it");
            removeLateGroup();
            return;
        }
    }
    {
        const std::lock_guard lock(lock_);
        tables_.ForEach([&](const Vod2dWifiBroadcastRecvCb* table) {
            if (table->onGroupChanged != nullptr) {
                Log(kLogTrace, kFunction, "call callback");
                CallApplication(table->onGroupChanged, change);
            }
        });
    }
    LogEnd(kFunction);
}

void GroupCallbacks::CountStation(const protocol::StationChange& change)
{
    const std::string station(protocol::TextIn(change.address));
    const os::ForkHold hold;
    if (change.state == kVod2dStationJoined) {
        stations_.insert(station);
    } else {
        stations_.erase(station);
    }
}

void GroupCallbacks::SoftAPConnectionStateChangeCallBack(const protocol::StationChange* record)
{
    constexpr auto kFunction = "IPCMessageSender::SoftAPConnectionStateChangeCallBack";
    LogStart(kFunction);
    if (record == nullptr) {
        Log(kLogIncomplete, kFunction, "info is nullptr, return");
        return;
    }
    const protocol::StationChange& change = *record;
    bool copied = true;
    {
        const std::lock_guard lock(lock_);
        tables_.ForEach([&](const Vod2dWifiBroadcastRecvCb* table) {
            if (!copied || table->onStationChanged == nullptr) {
                return;
            }
            Vod2dStationChange copy{};
            copied = CopyStation(change, copy);
            if (copied) {
                CountStation(change);
                CallApplication(table->onStationChanged, &copy);
            }
        });
    }
    if (!copied) {
        Log(kLogFailure, kFunction, "memcpy error");
        return;
    }
    LogEnd(kFunction);
}

void GroupCallbacks::WifiExceptCallback()
{
    constexpr auto kFunction = "IPCMessageSender::WifiExceptCallback";
    LogStart(kFunction);
    {
        const std::lock_guard lock(lock_);
        std::set<std::string> gone;
        {
            const os::ForkHold hold;
            gone.swap(stations_);
        }
        for (const std::string& station : gone) {
            tables_.ForEach([&](const Vod2dWifiBroadcastRecvCb* table) {
                Vod2dStationChange change;
                if (table->onStationChanged != nullptr && FillDeparture(station, change)) {
                    CallApplication(table->onStationChanged, &change);
                }
            });
        }
    }
    LogEnd(kFunction);
}

}  // namespace pelacon
