#include <service/base/Log.h>
#include <service/linux/bluetooth/Advertiser.h>
#include <tests/service/linux/FaceTest.h>
#include <tests/service/linux/KernelStandIn.h>
#include <tests/service/linux/Recorded.h>
#include <tests/support/TemporaryFolder.h>

#include <gmock/gmock.h>

#include <deque>

namespace pelacon::service::linux_radios::tests {

namespace {

using radio::AdvertisementKind;
using radio::Outcome;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Events = std::vector<std::string>;

/// An advertisement whose observer notes the calls. They are called with the lock held.
class NotedAdvertisement : public radio::AdvertisementObserver {
  public:
    void Start(radio::Advertiser& advertiser, const radio::Advertising& wanted)
    {
        advertisement = advertiser.Start(wanted, *this);
    }

    void Started() override { events.emplace_back("started"); }
    void Ended(Outcome why) override
    {
        events.push_back("ended " + std::to_string(static_cast<int>(why)));
        advertisement.reset();
    }

    std::vector<std::string> events;
    std::unique_ptr<radio::Advertisement> advertisement;
};

class AnAdvertiser : public FaceTest {
  protected:
    ~AnAdvertiser() override
    {
        Locked([this] {
            all.clear();
            advertiser.reset();
        });
        host.reset();
        loop.Stop();  // what it still does uses members of this class
    }

    void Start()
    {
        StartHost({[this] { return kernel.Open(); },
                   [](std::uint16_t) -> FileDescriptor {
                       throw std::system_error(
                           std::make_error_code(std::errc::operation_not_permitted));
                   },
                   itemsFile});
        Locked([this] { advertiser = std::make_unique<Advertiser>(*host, gate); });
    }
    NotedAdvertisement& Begin(const radio::Advertising& wanted = {})
    {
        return Locked([&]() -> NotedAdvertisement& {
            all.emplace_back().Start(*advertiser, wanted);
            EXPECT_THAT(all.back().events, IsEmpty());
            return all.back();
        });
    }
    bool Sees(const NotedAdvertisement& one, const Events& expected)
    {
        return Eventually([&] { return one.events == expected; });
    }
    /// The numbers of the instances that the kernel sends.
    std::vector<int> OnAir() const
    {
        std::vector<int> numbers;
        for (const auto& [number, instance] : kernel.Instances()) {
            numbers.push_back(number);
        }
        return numbers;
    }
    bool IsOnAir(const std::vector<int>& numbers)
    {
        return test::Eventually([&] { return OnAir() == numbers; });
    }

    test::TemporaryFolder folder;
    std::string itemsFile = folder.File("kernel-items");
    KernelStandIn kernel;
    std::deque<NotedAdvertisement> all;
    std::unique_ptr<Advertiser> advertiser;
};

TEST_F(AnAdvertiser, SendsWhileAnAdvertisementExists)
{
    StartBluez();
    Start();
    radio::Advertising wanted;
    wanted.data = FromHex("020106");
    wanted.scanResponse = FromHex("020961");
    NotedAdvertisement& one = Begin(wanted);
    NotedAdvertisement& two = Begin(wanted);
    ASSERT_TRUE(Sees(one, {"started"}));
    ASSERT_TRUE(Sees(two, {"started"}));
    EXPECT_THAT(OnAir(), ElementsAre(4, 5));
    EXPECT_EQ(kernel.Instances().at(5).data, wanted.data);
    EXPECT_EQ(kernel.Instances().at(5).scanResponse, wanted.scanResponse);
    Locked([&] { one.advertisement.reset(); });
    EXPECT_TRUE(IsOnAir({4}));
    Locked([&] { two.advertisement.reset(); });
    EXPECT_TRUE(IsOnAir({}));
    EXPECT_THAT(one.events, ElementsAre("started"));
}

TEST_F(AnAdvertiser, SendsTheKindThatIsWanted)
{
    constexpr std::uint32_t kConnectable = 1;
    StartBluez();
    Start();
    radio::Advertising wanted;
    wanted.scanResponse = FromHex("020961");
    ASSERT_TRUE(Sees(Begin(wanted), {"started"}));
    wanted.kind = AdvertisementKind::kScannable;
    ASSERT_TRUE(Sees(Begin(wanted), {"started"}));
    wanted.kind = AdvertisementKind::kNonConnectable;
    ASSERT_TRUE(Sees(Begin(wanted), {"started"}));
    wanted.kind = AdvertisementKind::kScannable;
    wanted.scanResponse.clear();
    ASSERT_TRUE(Sees(Begin(wanted), {"started"}));
    const auto instances = kernel.Instances();
    EXPECT_EQ(instances.at(5).flags & kConnectable, kConnectable);
    EXPECT_EQ(instances.at(4).flags & kConnectable, 0U);
    EXPECT_EQ(instances.at(4).scanResponse, FromHex("020961"));
    EXPECT_EQ(instances.at(3).flags & kConnectable, 0U);
    EXPECT_THAT(instances.at(3).scanResponse, IsEmpty());
    EXPECT_EQ(instances.at(2).scanResponse, FromHex("00")) << "without any it is not scannable";
}

TEST_F(AnAdvertiser, ReportsThatTheAdapterSendsNoMore)
{
    StartBluez();
    Start();
    for (int i = 0; i < 5; ++i) {
        ASSERT_TRUE(Sees(Begin(), {"started"}));
    }
    EXPECT_TRUE(Sees(Begin(), {"ended 5"}));
    Locked([this] { all.front().advertisement.reset(); });
    EXPECT_TRUE(IsOnAir({1, 2, 3, 4}));
    EXPECT_TRUE(Sees(Begin(), {"started"}));
}

TEST_F(AnAdvertiser, ReportsThatThereIsNoAdapter)
{
    Start();
    EXPECT_TRUE(Sees(Begin(), {"ended 1"}));
}

TEST_F(AnAdvertiser, EndsWithTheAdapter)
{
    StartBluez();
    Start();
    NotedAdvertisement& one = Begin();
    ASSERT_TRUE(Sees(one, {"started"}));
    bluetoothd->Do({{"do", "change"}, {"path", "hci0"}, {"Powered", false}});
    ASSERT_TRUE(Sees(one, {"started", "ended 1"}));
    EXPECT_TRUE(IsOnAir({}));
    bluetoothd->Do({{"do", "change"}, {"path", "hci0"}, {"Powered", true}});
    ASSERT_TRUE(Eventually([this] { return host->Picture().isOn; }));
    NotedAdvertisement& two = Begin();
    ASSERT_TRUE(Sees(two, {"started"}));
    bluetoothd->Kill();
    ASSERT_TRUE(Sees(two, {"started", "ended 1"}));
    EXPECT_TRUE(IsOnAir({})) << "the kernel goes on without bluetoothd";
}

TEST_F(AnAdvertiser, CallsNothingForWhatIsDestroyed)
{
    StartBluez();
    Start();
    Locked([this] {
        all.emplace_back().Start(*advertiser, {});
        all.back().advertisement.reset();
    });
    ASSERT_TRUE(Sees(Begin(), {"started"}));
    EXPECT_TRUE(IsOnAir({5}));
    EXPECT_THAT(all.front().events, IsEmpty());
}

TEST_F(AnAdvertiser, SendsNothingOnceItIsReleased)
{
    StartBluez();
    Start();
    NotedAdvertisement& one = Begin();
    ASSERT_TRUE(Sees(one, {"started"}));
    Locked([this] {
        gate->Close();
        advertiser->Release();
    });
    EXPECT_TRUE(IsOnAir({}));
    Begin();
    const auto next = std::make_shared<Gate>(scheduler);
    Advertiser other(*host, next);
    NotedAdvertisement two;
    Locked([&] { two.Start(other, {}); });
    ASSERT_TRUE(Sees(two, {"started"}));
    EXPECT_THAT(OnAir(), SizeIs(1));
    Locked([&] { two.advertisement.reset(); });
    EXPECT_THAT(one.events, ElementsAre("started"));
}

TEST_F(AnAdvertiser, RemovesWhatAnEarlierServiceLeft)
{
    KernelItems(itemsFile).Add({KernelItems::Kind::kAdvertisement, 0, 5});
    kernel.AddInstance(5);
    kernel.AddInstance(2);  // another program's
    StartBluez();
    Start();
    ASSERT_TRUE(IsOnAir({2}));
    ASSERT_TRUE(Sees(Begin(), {"started"}));
    EXPECT_THAT(OnAir(), ElementsAre(2, 5));
    Locked([this] {
        all.clear();
        advertiser.reset();
    });
    host.reset();
    EXPECT_TRUE(IsOnAir({2}));
    EXPECT_THAT(KernelItems(itemsFile).All(KernelItems::Kind::kAdvertisement), IsEmpty());
}

TEST_F(AnAdvertiser, NotesInTheLogOnceThatChannelsCannotBeChosen)
{
    std::vector<std::string> lines;
    StartBluez();
    Start();
    log::SetSink([&](LogLevel, std::string_view line) { lines.emplace_back(line); });
    radio::Advertising wanted;
    wanted.channels = 0b001;
    EXPECT_TRUE(Sees(Begin(wanted), {"started"}));
    EXPECT_TRUE(Sees(Begin(wanted), {"started"}));
    log::SetSink({});
    EXPECT_THAT(lines, ElementsAre(testing::HasSubstr("channels")));
}

}  // namespace

}  // namespace pelacon::service::linux_radios::tests
