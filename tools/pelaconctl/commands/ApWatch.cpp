// pelaconctl ap watch.
#include <PelaconSDK/WifiSystemApi.h>
#include <tools/pelaconctl/Console.h>
#include <tools/pelaconctl/Happenings.h>
#include <tools/pelaconctl/OptionValues.h>
#include <tools/pelaconctl/Text.h>
#include <tools/pelaconctl/WifiText.h>
#include <tools/pelaconctl/commands/ApParts.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <memory>
#include <optional>
#include <string>

namespace pelacon::ctl {

namespace {

/// Posts what it is told.
class ApEars : public ISoftApConnectStatus, public ISoftAPNotification {
  public:
    void OnConnectStatus(int32_t status) override
    {
        Happenings().Post({{{"event", "connection"}, {"status", status}},
                           status != 0 ? "somebody is connected" : "nobody is connected any more"});
    }

    // The state, which follows, says this too.
    void OnAdvertisementStatus(uint32_t /*status*/) override {}

    void OnAdvertisementState(const SoftApAdvertisementState* state) override
    {
        const std::string ssid = Printable(FieldText(state->ssid));
        const std::string where = ssid + " on " + ChannelText(state->channel);
        const std::string line =
            state->status == kSoftApAdvertisementStopped ? "the soft AP is gone"
            : state->status == kSoftApAdvertisementMoved ? "the soft AP has moved: " + where
                                                         : "the soft AP is there: " + where;
        Happenings().Post({{{"event", "advertisement"},
                            {"status", state->status},
                            {"ssid", ssid},
                            {"channel", state->channel}},
                           line});
    }

    void OnDeviceConnectionStatus(uint32_t status) override
    {
        Happenings().Post({{{"event", "device"}, {"connected", status != 0}},
                           status != 0 ? "a device has connected" : "a device is gone"});
    }
};

/// Registers ears for good, as the one for connections cannot be taken back.
struct ApListener {
    ApListener()
    {
        static ApEars& ears = *new ApEars;
        WifiSystemApi& api = WifiSystemApi::GetInstance();
        CheckResult(api.RegisterSoftApNotificationEventCallback(&ears), -1, "watch the soft AP");
        api.RegistSoftApConnectStatus(&ears);
    }
};

}  // namespace

void AddApWatch(CLI::App& ap, const Console& console)
{
    const auto seconds = std::make_shared<std::optional<double>>();
    CLI::App* const watch =
        ap.add_subcommand("watch", "Show what happens to the soft AP and the devices on it");
    watch->add_option("--seconds", *seconds, "End after so many seconds")->check(NotNegative());
    watch->callback([&console, seconds] { Watch<ApListener>(*seconds, console); });
}

}  // namespace pelacon::ctl
