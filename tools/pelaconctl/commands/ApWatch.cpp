// pelaconctl ap watch.
#include <tools/pelaconctl/Watch.h>
#include <tools/pelaconctl/WifiCommon.h>
#include <tools/pelaconctl/commands/Kit.h>

namespace pelacon::ctl {

namespace {

class ApPoster : public ISoftApConnectStatus, public ISoftAPNotification {
  public:
    void OnConnectStatus(int32_t status) override
    {
        Events<WatchedEvent>().Post(
            {{{"event", "connection"}, {"status", status}},
             status != 0 ? "a device is connected" : "no device is connected"});
    }

    // OnAdvertisementState, which follows, has the same information.
    void OnAdvertisementStatus(uint32_t /*status*/) override {}

    void OnAdvertisementState(const SoftApAdvertisementState* state) override
    {
        const std::string ssid = Printable(protocol::TextIn(state->ssid));
        const std::string where = ssid + " on " + ChannelText(state->channel);
        const std::string line =
            state->status == kSoftApAdvertisementStopped ? "the soft AP was destroyed"
            : state->status == kSoftApAdvertisementMoved ? "the soft AP moved: " + where
                                                         : "the soft AP was created: " + where;
        Events<WatchedEvent>().Post({{{"event", "advertisement"},
                                      {"status", state->status},
                                      {"ssid", ssid},
                                      {"channel", state->channel}},
                                     line});
    }

    void OnDeviceConnectionStatus(uint32_t status) override
    {
        Events<WatchedEvent>().Post({{{"event", "device"}, {"connected", status != 0}},
                                     status != 0 ? "a device connected" : "a device disconnected"});
    }
};

/// Registers a poster that is never destroyed, as a listener for connections cannot be
/// unregistered.
struct ApListener {
    ApListener()
    {
        static ApPoster& poster = *new ApPoster;
        CheckResult(kPelaconStatusSoftAp, Wifi().RegisterSoftApNotificationEventCallback(&poster),
                    "watch the soft AP");
        Wifi().RegistSoftApConnectStatus(&poster);
    }
};

}  // namespace

void AddApWatch(CLI::App& ap, const Console& console)
{
    AddWatch<ApListener>(ap, "Show changes of the soft AP and of the devices on it", console);
}

}  // namespace pelacon::ctl
