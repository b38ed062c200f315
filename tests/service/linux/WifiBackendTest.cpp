#include <service/linux/wifi/Backend.h>
#include <tests/service/linux/OnLoop.h>
#include <tests/service/linux/PrivateBus.h>
#include <tests/service/linux/StandInPath.h>
#include <tests/service/linux/WifiKernel.h>
#include <tests/support/TemporaryFolder.h>

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace pelacon::service::linux_radios::tests {

namespace {

using radio::GroupOutcome;
using wifi::AccessPointRole;

/// On stand-ins of the kernel, wpa_supplicant and dnsmasq, without NetworkManager.
class AWifiBackend : public LoopTest {
  protected:
    AWifiBackend()
    {
        access.netlink = kernel.Netlink();
        access.openRfkill = [this] { return kernel.OpenRfkill(); };
        access.addressOf = [](const std::string& /*card*/) -> std::uint64_t {
            return 0x020000000010;
        };
        access.accessPoints.folder = temporary.File("access-points");
        access.accessPoints.supplicant = PathOfStandIn("supplicant.py");
        access.accessPoints.dnsmasq = PathOfStandIn("dnsmasq.sh");
        access.accessPoints.indexOf = [this](const std::string& name) {
            return kernel.IndexOf(name);
        };
        kernel.SetCard(0);
        kernel.SetInterface(4, "wlan0");
    }
    ~AWifiBackend() override
    {
        Do([this] { backend.reset(); });
    }

    /// Waits until it knows that Wi-Fi is on.
    void Start()
    {
        Do([this] {
            const wifi::Backend::Callbacks callbacks{
                [](const wifi::BackendStatus& /*status*/) {},
                [this](const wifi::Picture& picture) { isOn = picture.isOn; },
                [this](AccessPointRole /*role*/, const wifi::AccessPointEvent& event) {
                    events.push_back(event);
                }};
            backend = std::make_unique<wifi::Backend>(loop, "", callbacks, access);
        });
        ASSERT_TRUE(Eventually([this] { return isOn; }));
    }
    void Make()
    {
        wifi::AccessPointPlan plan;
        plan.id = 1;
        plan.ssid = "DIRECT-xy-Pelacon";
        plan.passPhrase = "password99";
        plan.ipAddress = "192.168.49.1";
        plan.channel = 6;
        backend->Make(AccessPointRole::kGroup, plan);
    }
    bool IsMadeWith(GroupOutcome outcome)
    {
        return Eventually([this] { return !events.empty(); }) &&
               Do([&] { return events.front().outcome == outcome; });
    }

    PrivateBus bus;
    WifiKernel kernel;
    test::TemporaryFolder temporary;
    wifi::KernelAccess access;
    // In the loop's thread:
    bool isOn = false;
    std::vector<wifi::AccessPointEvent> events;
    std::unique_ptr<wifi::Backend> backend;
};

TEST_F(AWifiBackend, MakesAnAccessPoint)
{
    Start();
    Do([this] { Make(); });
    EXPECT_TRUE(IsMadeWith(GroupOutcome::kDone));
}

TEST_F(AWifiBackend, MakesNoneWhenWifiIsOff)
{
    Start();
    kernel.Block(0, true, false);
    ASSERT_TRUE(Eventually([this] { return !isOn; }));
    Do([this] { Make(); });
    EXPECT_TRUE(IsMadeWith(GroupOutcome::kWifiOff));
}

TEST_F(AWifiBackend, MakesNoneWhileWifiIsSwitchedOff)
{
    // Switches without an effect.
    std::array<int, 2> ends{};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()),
              0);
    const FileDescriptor other(ends[1]);
    access.openRfkill = [own = ends[0]] {
        return wifi::RfkillAccess{FileDescriptor(own), true,
                                  [](std::uint32_t number) { return std::optional(number); }};
    };
    Start();
    Do([this] {
        backend->Switch(false, [](radio::Outcome /*outcome*/) {});
        Make();
    });
    EXPECT_TRUE(IsMadeWith(GroupOutcome::kWifiOff));
}

TEST_F(AWifiBackend, ReportsWifiAsOffWhereTheKernelDoesFirst)
{
    kernel.RefuseInterfaces(ERFKILL);
    Start();
    Do([this] { Make(); });
    EXPECT_TRUE(IsMadeWith(GroupOutcome::kWifiOff));
}

}  // namespace

}  // namespace pelacon::service::linux_radios::tests
