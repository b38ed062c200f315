#include <service/linux/bluetooth/Scanner.h>
#include <tests/service/linux/FaceTest.h>
#include <tests/service/linux/KernelStandIn.h>
#include <tests/service/linux/Recorded.h>
#include <tests/service/linux/SocketPair.h>
#include <tests/support/TemporaryFolder.h>

#include <gmock/gmock.h>

#include <future>

namespace pelacon::service::linux_radios::tests {

namespace {

using radio::AdvertisementKind;
using radio::Outcome;
using radio::ScanPolicy;
using testing::ElementsAre;
using testing::IsEmpty;
using Events = std::vector<std::string>;

/// A scan whose observer notes the calls. They are called with the lock held.
class NotedScan : public radio::ScanObserver {
  public:
    void Start(radio::Scanner& scanner, ScanPolicy policy) { scan = scanner.Start(policy, *this); }

    void Started() override
    {
        events.emplace_back("started");
        if (onStarted) {
            onStarted();
        }
    }
    void Received(const radio::Heard& one) override { heard.push_back(one); }
    void Ended(Outcome why) override
    {
        events.push_back("ended " + std::to_string(static_cast<int>(why)));
        if (const auto action = onEnded) {
            action();
        }
    }

    std::vector<std::string> events;
    std::vector<radio::Heard> heard;
    std::function<void()> onStarted;
    std::function<void()> onEnded;
    std::unique_ptr<radio::Scan> scan;
};

class AScanner : public FaceTest, protected Host::Observer {
  protected:
    /// Not in the destructor, as this is an observer until then.
    void TearDown() override
    {
        Locked([this] {
            one.scan.reset();
            two.scan.reset();
            if (host) {
                host->SetObserver(nullptr);
            }
            scanner.reset();
        });
        host.reset();
        loop.Stop();  // what it still does uses members of this class
    }

    void Start()
    {
        StartHost({[this] { return kernel.Open(); },
                   [this](std::uint16_t) {
                       if (!reports) {
                           throw std::system_error(
                               std::make_error_code(std::errc::operation_not_permitted));
                       }
                       return std::move(reports->service);
                   },
                   itemsFile});
        Locked([this] {
            host->SetObserver(this);
            scanner = std::make_unique<Scanner>(*host);
        });
    }
    void Begin(NotedScan& scan, ScanPolicy policy = ScanPolicy::kBalanced)
    {
        Locked([&] { scan.Start(*scanner, policy); });
    }
    void End(NotedScan& scan)
    {
        Locked([&] { scan.scan.reset(); });
    }
    bool Sees(const NotedScan& scan, const Events& expected)
    {
        return Eventually([&] { return scan.events == expected; });
    }
    bool HasMonitors(const std::set<std::uint16_t>& handles)
    {
        return test::Eventually([&] { return kernel.Monitors() == handles; });
    }
    /// Waits until the duplicate filter has the state.
    bool FilterIs(DuplicateFilter::State expected)
    {
        return test::Eventually([&] {
            const auto state = std::make_shared<std::promise<DuplicateFilter::State>>();
            Locked([&] {
                host->Post([state](Backend& backend) {
                    state->set_value(backend.duplicateFilter.GetState());
                });
            });
            auto received = state->get_future();
            return received.wait_for(kPatience) == std::future_status::ready &&
                   received.get() == expected;
        });
    }

    test::TemporaryFolder folder;
    std::string itemsFile;
    KernelStandIn kernel;
    std::optional<SocketPair> reports;
    NotedScan one;
    NotedScan two;
    std::unique_ptr<Scanner> scanner;

  private:
    void PictureChanged(const AdapterPicture& /*before*/) override {}
    void Heard(const AdvertisingReport& report) override { scanner->Heard(report); }
    void DiscoveryBegan() override { scanner->DiscoveryBegan(); }
    void DiscoveryEnded(Outcome why) override { scanner->DiscoveryEnded(why); }
};

TEST_F(AScanner, DiscoversWhileThereIsAScan)
{
    StartBluez();
    Start();
    Begin(one);
    ASSERT_TRUE(Sees(one, {"started"}));
    Begin(two);
    ASSERT_TRUE(Sees(two, {"started"}));
    End(one);
    Begin(one);
    ASSERT_TRUE(Sees(one, {"started", "started"}));
    EXPECT_EQ(CallsOf("StartDiscovery"), 1);
    EXPECT_EQ(CallsOf("StopDiscovery"), 0);
    End(one);
    End(two);
    EXPECT_TRUE(IsCalled("StopDiscovery"));
    EXPECT_THAT(Locked([this] { return one.events; }), ElementsAre("started", "started"));
}

TEST_F(AScanner, DeliversReportsOfAllKindsToAllScans)
{
    reports.emplace();
    StartBluez();
    Start();
    Begin(one);
    Begin(two);
    ASSERT_TRUE(Sees(one, {"started"}));
    ASSERT_TRUE(Sees(two, {"started"}));
    const std::string sender = "01000101aa00";
    reports->Send(FromHex("043e0f0201 00 00" + sender + "03 020106 c4"));
    reports->Send(FromHex("043e0c0201 01 01" + sender + "00 d8"));
    reports->Send(FromHex("043e0f0201 02 01" + sender + "03 020a04 7f"));
    reports->Send(FromHex("043e0c0201 03 01" + sender + "00 7f"));
    reports->Send(FromHex("043e0f0201 04 01" + sender + "03 020961 d8"));
    const auto isHeard = [](std::int32_t rssi, AdvertisementKind kind, const char* data) {
        return testing::AllOf(testing::Field(&radio::Heard::address, 0x00AA01010001U),
                              testing::Field(&radio::Heard::rssi, rssi),
                              testing::Field(&radio::Heard::kind, kind),
                              testing::Field(&radio::Heard::data, FromHex(data)));
    };
    for (const NotedScan* const scan : {&one, &two}) {
        ASSERT_TRUE(Eventually([&] { return scan->heard.size() == 5; }));
        EXPECT_THAT(
            scan->heard,
            ElementsAre(isHeard(-60, AdvertisementKind::kConnectable, "020106"),
                        isHeard(-40, AdvertisementKind::kConnectable, ""),
                        isHeard(radio::kUnknownRssi, AdvertisementKind::kScannable, "020a04"),
                        isHeard(radio::kUnknownRssi, AdvertisementKind::kNonConnectable, ""),
                        isHeard(-40, AdvertisementKind::kScanResponse, "020961")));
    }
}

TEST_F(AScanner, CutsLongAdvertisementsBetweenStructures)
{
    Start();
    AdvertisingReport report;
    report.data = FromHex("020106 1bff" + std::string(52, '0') + "0209610209620209");
    ASSERT_GT(report.data.size(), radio::kMostAdvertisingData);
    Locked([&] {
        one.Start(*scanner, ScanPolicy::kBalanced);
        scanner->Heard(report);
        EXPECT_THAT(one.heard, IsEmpty()) << "it has not started";
        scanner->DiscoveryBegan();
        scanner->Heard(report);
        ASSERT_EQ(one.heard.size(), 1U);
        EXPECT_EQ(one.heard[0].data, FromHex("020106 1bff" + std::string(52, '0')));
        report.data.assign(40, 39);
        scanner->Heard(report);
        EXPECT_THAT(one.heard.back().data, IsEmpty());
        // What fits is delivered as it is, even if its structures are wrong.
        report.data.resize(31);
        scanner->Heard(report);
        EXPECT_EQ(one.heard.back().data, report.data);
    });
}

TEST_F(AScanner, MayLoseScansInItsCalls)
{
    Start();
    Locked([&] {
        one.Start(*scanner, ScanPolicy::kBalanced);
        two.Start(*scanner, ScanPolicy::kBalanced);
        one.onStarted = [this] { two.scan.reset(); };
        scanner->DiscoveryBegan();
        EXPECT_THAT(two.events, IsEmpty());
        two.Start(*scanner, ScanPolicy::kBalanced);
        NotedScan third;
        one.onEnded = [&] {
            one.scan.reset();
            two.scan.reset();
            third.Start(*scanner, ScanPolicy::kBalanced);
        };
        scanner->DiscoveryEnded(Outcome::kFailed);
        EXPECT_THAT(one.events, ElementsAre("started", "ended 6"));
        EXPECT_THAT(two.events, IsEmpty());
        EXPECT_THAT(third.events, IsEmpty());
        scanner->DiscoveryBegan();
        EXPECT_THAT(third.events, ElementsAre("started"));
        third.scan.reset();
    });
}

TEST_F(AScanner, EndsScansWithTheirReason)
{
    StartBluez();
    Start();
    bluetoothd->Do({{"do", "fail"},
                    {"method", "StartDiscovery"},
                    {"error", "org.freedesktop.DBus.Error.AccessDenied"}});
    Begin(one);
    ASSERT_TRUE(Sees(one, {"ended 4"}));
    Begin(two);
    ASSERT_TRUE(Sees(two, {"started"}));
    bluetoothd->Do({{"do", "change"}, {"path", "hci0"}, {"Powered", false}});
    ASSERT_TRUE(Sees(two, {"started", "ended 1"}));
    EXPECT_THAT(one.events, ElementsAre("ended 4")) << "that was the last call";
}

TEST_F(AScanner, StartsScansWhenThereIsAnAdapter)
{
    Start();
    Begin(one);
    StartBluez();
    EXPECT_TRUE(Sees(one, {"started"}));
}

TEST_F(AScanner, HasTheDuplicateFilterOffForLowLatency)
{
    StartBluez();
    Start();
    Begin(one);
    ASSERT_TRUE(Sees(one, {"started"}));
    EXPECT_TRUE(FilterIs(DuplicateFilter::State::kOn));
    EXPECT_TRUE(HasMonitors({}));
    Begin(two, ScanPolicy::kLowLatency);
    ASSERT_TRUE(HasMonitors({1}));
    ASSERT_TRUE(Sees(two, {"started"}));
    kernel.RemoveMonitors();
    ASSERT_TRUE(HasMonitors({1})) << "it is added again";
    EXPECT_TRUE(FilterIs(DuplicateFilter::State::kOff));
    End(two);
    EXPECT_TRUE(HasMonitors({}));
    EXPECT_TRUE(FilterIs(DuplicateFilter::State::kOn));
}

TEST_F(AScanner, ScansFilteredWhereTheKernelRefuses)
{
    kernel.Refuse(KernelStandIn::kAddMonitor, ManagementStatus::kPermissionDenied);
    StartBluez();
    Start();
    Begin(one, ScanPolicy::kLowLatency);
    ASSERT_TRUE(Sees(one, {"started"}));
    EXPECT_TRUE(FilterIs(DuplicateFilter::State::kRefused));
    End(one);
    EXPECT_TRUE(FilterIs(DuplicateFilter::State::kOn));
}

TEST_F(AScanner, HasTheFilterOffOnceTheKernelIsNotBusyAnyMore)
{
    kernel.Refuse(KernelStandIn::kAddMonitor, ManagementStatus::kBusy);
    StartBluez();
    Start();
    Begin(one, ScanPolicy::kLowLatency);
    ASSERT_TRUE(Sees(one, {"started"}));
    EXPECT_TRUE(FilterIs(DuplicateFilter::State::kOn));
    kernel.Refuse(KernelStandIn::kAddMonitor, ManagementStatus::kSuccess);
    EXPECT_TRUE(HasMonitors({1}));
}

TEST_F(AScanner, HasTheFilterOffAfterARefusalOnceTheAdapterIsOn)
{
    kernel.Refuse(KernelStandIn::kAddMonitor, ManagementStatus::kNotPowered);
    StartBluez();
    Change("hci0", "Powered", false);
    Start();
    Begin(one, ScanPolicy::kLowLatency);
    ASSERT_TRUE(FilterIs(DuplicateFilter::State::kRefused));
    kernel.Refuse(KernelStandIn::kAddMonitor, ManagementStatus::kSuccess);
    Change("hci0", "Powered", true);
    EXPECT_TRUE(HasMonitors({1}));
}

TEST_F(AScanner, LeavesNoMonitorBehind)
{
    itemsFile = folder.File("kernel-items");
    KernelItems(itemsFile).Add({KernelItems::Kind::kMonitor, 0, 2});
    kernel.AddMonitor(1);  // another program's
    kernel.AddMonitor(2);
    StartBluez();
    Start();
    ASSERT_TRUE(HasMonitors({1}));
    Begin(one, ScanPolicy::kLowLatency);
    ASSERT_TRUE(HasMonitors({1, 2}));
    ASSERT_TRUE(Sees(one, {"started"}));
    Locked([this] {
        one.scan.reset();
        host->SetObserver(nullptr);
        scanner.reset();
    });
    host.reset();
    EXPECT_TRUE(HasMonitors({1}));
    EXPECT_THAT(KernelItems(itemsFile).All(KernelItems::Kind::kMonitor), IsEmpty());
}

TEST_F(AScanner, DoesNothingForScansOnceItIsReleased)
{
    StartBluez();
    Start();
    Begin(one, ScanPolicy::kLowLatency);
    ASSERT_TRUE(Sees(one, {"started"}));
    ASSERT_TRUE(HasMonitors({1}));
    Scanner next(*host);
    Locked([&] {
        // The loop waits for the end of all this.
        host->Post([this](Backend&) { Locked([] {}); });
        scanner->Release();
        two.Start(next, ScanPolicy::kBalanced);
        one.scan.reset();
        one.Start(*scanner, ScanPolicy::kBalanced);
        one.scan.reset();
    });
    EXPECT_TRUE(HasMonitors({}));
    EXPECT_EQ(CallsOf("StopDiscovery"), 0) << "the other scan goes on";
    End(two);
    EXPECT_TRUE(IsCalled("StopDiscovery"));
}

}  // namespace

}  // namespace pelacon::service::linux_radios::tests
