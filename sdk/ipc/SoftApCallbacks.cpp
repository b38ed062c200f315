#include <karvell_secure_c/securec.h>
#include <sdk/diag/Log.h>
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
    const std::lock_guard lock(mutex_);
    if (table != nullptr && !tables_.AddOnce(table)) {
        Log(kLogTrace, "IPCMessageSender::AddSoftAPStateChanged", "callback already exist");
    }
}

void SoftApCallbacks::RemoveSoftAPStateChanged(Vod2dWifiBroadcastRecvCb* table)
{
    const std::lock_guard lock(mutex_);
    if (tables_.Remove(table)) {
        Log(kLogTrace, "IPCMessageSender::RemoveSoftAPStateChanged", "remove");
    }
}

bool SoftApCallbacks::HasSoftAPStateChanged() const
{
    const std::lock_guard lock(mutex_);
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
        const std::lock_guard lock(mutex_);
        for (const Vod2dWifiBroadcastRecvCb* table : tables_) {
            if (table->onGroupChanged != nullptr) {
                Log(kLogTrace, kFunction, "call callback");
                table->onGroupChanged(change);
            }
        }
    }
    LogEnd(kFunction);
}

void SoftApCallbacks::CountStation(const protocol::StationChange& change)
{
    if (change.state == kVod2dStationJoined) {
        stations_.insert(FixedText(change.address));
    } else {
        stations_.erase(FixedText(change.address));
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
    {
        const std::lock_guard lock(mutex_);
        for (const Vod2dWifiBroadcastRecvCb* table : tables_) {
            if (table->onStationChanged == nullptr) {
                continue;
            }
            Vod2dStationChange told{};
            if (!CopyStation(change, told)) {
                Log(kLogFailure, kFunction, "memcpy error");
                return;
            }
            table->onStationChanged(&told);
            CountStation(change);
        }
    }
    LogEnd(kFunction);
}

void SoftApCallbacks::WifiExceptCallback()
{
    constexpr auto kFunction = "IPCMessageSender::WifiExceptCallback";
    LogStart(kFunction);
    {
        const std::lock_guard lock(mutex_);
        for (const std::string& station : stations_) {
            for (const Vod2dWifiBroadcastRecvCb* table : tables_) {
                Vod2dStationChange change;
                if (table->onStationChanged != nullptr && FillDeparture(station, change)) {
                    table->onStationChanged(&change);
                }
            }
        }
        stations_.clear();
    }
    LogEnd(kFunction);
}

}  // namespace pelacon
