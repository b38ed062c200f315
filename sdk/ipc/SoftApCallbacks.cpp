#include <karvell_secure_c/securec.h>
#include <sdk/diag/Log.h>
#include <sdk/ipc/Application.h>
#include <sdk/ipc/Exchange.h>
#include <sdk/ipc/SoftApCallbacks.h>

namespace pelacon {

using diag::Log;
using diag::LogEnd;
using diag::LogStart;

static_assert(sizeof(Vod2dGroupChange) == sizeof(protocol::GroupChange));

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

void SoftApCallbacks::AddSoftAPStateChanged(Vod2dWifiBroadcastRecvCb* table)
{
    const std::lock_guard lock(lock_);
    if (table != nullptr && !tables_.AddOnce(table)) {
        Log(kLogTrace, "IPCMessageSender::AddSoftAPStateChanged", "callback already exist");
    }
}

void SoftApCallbacks::RemoveSoftAPStateChanged(Vod2dWifiBroadcastRecvCb* table)
{
    const std::lock_guard lock(lock_);
    if (tables_.Remove(table)) {
        Log(kLogTrace, "IPCMessageSender::RemoveSoftAPStateChanged", "remove");
    }
}

bool SoftApCallbacks::HasSoftAPStateChanged() const
{
    const std::lock_guard lock(lock_);
    return !tables_.Empty();
}

void SoftApCallbacks::SetCreateGroupTimeOut(bool canComeLate)
{
    constexpr auto kFunction = "IPCMessageSender::SetCreateGroupTimeOut";
    LogStart(kFunction);
    if (canComeLate) {
        createTimedOut_ = true;
    }
    LogEnd(kFunction);
}

void SoftApCallbacks::SoftAPGroupsChangeCallBack(const std::uint8_t* record)
{
    constexpr auto kFunction = "IPCMessageSender::SoftAPGroupsChangeCallBack";
    LogStart(kFunction);
    if (record == nullptr) {
        Log(kLogFailure, kFunction, "null ptr");
        return;
    }
    const auto change = ReadRecord<Vod2dGroupChange>(record);
    if (createTimedOut_.exchange(false)) {
        Log(kLogTrace, kFunction, "last Create Group is timeout");
        if (change.state == kVod2dGroupExists) {
            Log(kLogTrace, kFunction, "after timeout, create success, remove it");
            Vod2dRemoveGroup();
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

void SoftApCallbacks::CountStation(const protocol::StationChange& change)
{
    const std::string station = FixedText(change.address);
    const os::ForkHold hold;
    if (change.state == kVod2dStationJoined) {
        stations_.insert(station);
    } else {
        stations_.erase(station);
    }
}

void SoftApCallbacks::SoftAPConnectionStateChangeCallBack(const std::uint8_t* record)
{
    constexpr auto kFunction = "IPCMessageSender::SoftAPConnectionStateChangeCallBack";
    LogStart(kFunction);
    if (record == nullptr) {
        Log(kLogIncomplete, kFunction, "info is nullptr, return");
        return;
    }
    const auto change = ReadRecord<protocol::StationChange>(record);
    bool copied = true;
    {
        const std::lock_guard lock(lock_);
        tables_.ForEach([&](const Vod2dWifiBroadcastRecvCb* table) {
            if (!copied || table->onStationChanged == nullptr) {
                return;
            }
            Vod2dStationChange told{};
            copied = CopyStation(change, told);
            if (copied) {
                CountStation(change);
                CallApplication(table->onStationChanged, &told);
            }
        });
    }
    if (!copied) {
        Log(kLogFailure, kFunction, "memcpy error");
        return;
    }
    LogEnd(kFunction);
}

void SoftApCallbacks::WifiExceptCallback()
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
