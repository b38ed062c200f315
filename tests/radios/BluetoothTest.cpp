// What drives Bluetooth, with a real bluetoothd and two controllers that receive each other: hci0
// and hci1. Run in the virtual machine, by tests/bluetooth.sh.
#include <tests/radios/TwoControllers.h>

#include <gmock/gmock.h>

#include <algorithm>

namespace pelacon::service::linux_radios::bluetooth {

namespace {

TEST_F(OverBluez, AnAdapterIsSwitchedAndRenamed)
{
    Do([this] { one->adapter.Rename("first", Store()); });
    EXPECT_EQ(Result(), radio::Outcome::kDone);
    EXPECT_EQ(one->picture.name, "first");
    Do([this] { one->adapter.Switch(false, Store()); });
    EXPECT_EQ(Result(), radio::Outcome::kDone);
    EXPECT_FALSE(one->picture.isOn);
    EXPECT_TRUE(two->picture.isOn);
    EXPECT_NE(one->picture.address, two->picture.address);
}

TEST_F(OverBluez, AdvertisementsArriveUnchanged)
{
    using testing::AllOf;
    using testing::Contains;
    using testing::Field;
    using Kind = AdvertisingReport::Kind;
    // With flags, as the controller puts them before data that have none.
    const Bytes connectable{2, 1, 6, 5, 0xFF, 0x34, 0x12, 1, 2};
    const Bytes response{4, 9, 'a', 'b', 'c'};
    const Bytes silent{2, 1, 4, 3, 3, 0xAA, 0xFE};
    std::vector<radio::Outcome> started;
    std::vector<std::uint64_t> numbers;
    Do([&] {
        one->discovery.Want(true);
        const auto note = [&](radio::Outcome result) { started.push_back(result); };
        radio::Advertising advertising;
        advertising.data = connectable;
        advertising.scanResponse = response;
        numbers.push_back(two->advertisements.Add(advertising, note, note));
        advertising.kind = radio::AdvertisementKind::kNonConnectable;
        advertising.data = silent;
        numbers.push_back(two->advertisements.Add(advertising, note, note));
    });
    ASSERT_TRUE(Eventually([&] { return started.size() == 2; }));
    EXPECT_THAT(started, testing::Each(radio::Outcome::kDone));
    const auto isHeard = [this](Kind kind, const Bytes& data) {
        return Eventually([&] {
            return std::any_of(one->heard.begin(), one->heard.end(), [&](const auto& report) {
                return report.kind == kind && report.data == data;
            });
        });
    };
    EXPECT_TRUE(isHeard(Kind::kConnectable, connectable));
    EXPECT_TRUE(isHeard(Kind::kScanResponse, response));
    EXPECT_TRUE(isHeard(Kind::kNonConnectable, silent));
    Do([&] {
        EXPECT_EQ(one->discovery.GetWay(), Discovery::Way::kRaw);
        EXPECT_EQ(two->advertisements.GetWay(), Advertisements::Way::kRaw);
        for (const std::uint64_t number : numbers) {
            two->advertisements.Remove(number);
        }
        one->discovery.Want(false);
    });
}

TEST_F(OverBluez, TheNumberOfAdvertisementsIsLimited)
{
    std::vector<radio::Outcome> started;
    Do([&] {
        const auto note = [&](radio::Outcome result) { started.push_back(result); };
        for (int i = 0; i < 6; ++i) {
            two->advertisements.Add({}, note, note);
        }
    });
    ASSERT_TRUE(Eventually([&] { return started.size() == 6; }));
    EXPECT_EQ(std::count(started.begin(), started.end(), radio::Outcome::kDone), 5);
    EXPECT_EQ(std::count(started.begin(), started.end(), radio::Outcome::kLimitReached), 1);
}

}  // namespace

}  // namespace pelacon::service::linux_radios::bluetooth
