// A Wi-Fi Direct group: created on a channel that suits both sides, removed after a device joined.
#include <PelaconSDK/PelaconSDK.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <iterator>
#include <mutex>
#include <string>

namespace {

std::mutex mutex;
std::condition_variable changed;
std::string firstStation;
bool groupRemoved = false;

// Both are called on the library's receive thread: record the event and return at once.
void OnGroupChanged(Vod2dGroupChange change)
{
    std::printf("  callback: the group was %s\n",
                change.state == kVod2dGroupExists ? "created" : "removed");
    const std::lock_guard lock(mutex);
    groupRemoved = change.state != kVod2dGroupExists;
    changed.notify_all();
}

void OnConnection(const Vod2dWifiCfgEvent* event)
{
    const std::string address(event->blob, event->blob + event->length);
    std::printf("  callback: %s joined\n", address.c_str());
    const std::lock_guard lock(mutex);
    if (firstStation.empty()) {
        firstStation = address;
    }
    changed.notify_all();
}

template <typename Condition>
bool WaitFor(Condition condition)
{
    std::unique_lock lock(mutex);
    return changed.wait_for(lock, std::chrono::seconds(10), condition);
}

/// The channel that suits both this computer and a peer that can use only some channels.
std::int32_t ChooseChannel()
{
    const RecommendChannelRequest sides[] = {
        {kVod2dBandAny, 0, 0, {}},                 // this computer: all its channels
        {kVod2dBandAny, 80, 4, {6, 36, 44, 149}},  // the peer
    };
    RecommendChannelResponse best{};
    if (Vod2dApi::Vod2dGetRecommendChannel(sides, static_cast<int32_t>(std::size(sides)), &best) !=
        kWifiSuccess) {
        return 0;  // any channel
    }
    std::printf("  channel %d (%d MHz) suits %d of %zu sides\n", best.channel, best.frequency,
                best.satisfied, std::size(sides));
    return best.channel;
}

/// Sends the programs on the peer's side what they need to join.
bool SendToPeer(const Vod2dSoftAPInfo& group)
{
    // A name that fills its field has no NUL.
    const std::string ssid(group.ssid, std::find(group.ssid, std::end(group.ssid), '\0'));
    std::string text = "ssid=" + ssid + ";channel=" + std::to_string(group.channel);
    return Vod2dApi::Vod2dSetPeerWifiCfgInfo(
               kPeerCfgStation, reinterpret_cast<std::uint8_t*>(text.data()),
               static_cast<std::int32_t>(text.size())) == kWifiSuccess;
}

/// A creation without an answer may still lead to a group. The library removes such a group while
/// it is started.
bool CreateGroup()
{
    Vod2dSoftAPInfo group{};
    group.channel = ChooseChannel();
    const WifiErrorCode result = Vod2dApi::Vod2dCreateGroup(&group);
    if (result != kWifiSuccess) {
        std::printf("  no group was created (%d)\n", result);
        return false;
    }
    std::printf("  group \"%.32s\" on channel %d, at %s\n", group.ssid, group.channel,
                group.ipAddress);
    return SendToPeer(group);
}

bool WaitForStation()
{
    if (!WaitFor([] { return !firstStation.empty(); })) {
        std::puts("  no device joined");
        return false;
    }
    Vod2dLinkGroup link{};
    Vod2dApi::Vod2dGetGroupInfoConnected(&link);
    std::printf("  stations connected: %d\n", link.stationCount);
    return true;
}

}  // namespace

int main()
{
    PelaconSvcStart();
    static Vod2dWifiBroadcastRecvCb callbacks{&OnGroupChanged, nullptr};
    static Vod2dWifiCfgCallback connections{&OnConnection};
    Vod2dConnNotifyRequest joiningOnly{1, "", {}};
    if (Vod2dApi::Vod2dRegisterSoftAPStateChangedCallback(&callbacks) != kWifiSuccess ||
        Vod2dApi::Vod2dSetConnNotify(&joiningOnly, &connections) != kWifiSuccess) {
        std::fputs("No answer from the service: is PelaconService running?\n", stderr);
        return 1;
    }

    bool done = CreateGroup() && WaitForStation();
    done = Vod2dApi::Vod2dRemoveGroup() == kWifiSuccess && done;
    done = WaitFor([] { return groupRemoved; }) && done;

    Vod2dApi::Vod2dUnRegisterSoftAPStateChangedCallback(&callbacks);
    PelaconSvcStop();
    return done ? 0 : 1;
}
