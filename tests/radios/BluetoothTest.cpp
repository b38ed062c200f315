// What drives Bluetooth, with a real bluetoothd and two controllers that receive each other: hci0
// and hci1. Run in the virtual machine, by tests/bluetooth.sh.
#include <service/linux/ByteReader.h>
#include <tests/radios/TwoControllers.h>
#include <tests/support/TemporaryFolder.h>

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>

namespace pelacon::service::linux_radios::bluetooth {

namespace {

constexpr std::uint16_t kSecondController = 1;
constexpr char kItemsFile[] = "PELACON_TEST_ITEMS_FILE";

TEST_F(OverBluez, AnAdapterIsSwitchedAndRenamed)
{
    Do([this] { one->adapter.Rename("first", Store()); });
    EXPECT_EQ(Result(), radio::Outcome::kDone);
    Do([this] { EXPECT_EQ(one->picture.name, "first"); });
    Do([this] { one->adapter.Switch(false, Store()); });
    EXPECT_EQ(Result(), radio::Outcome::kDone);
    Do([this] {
        EXPECT_FALSE(one->picture.isOn);
        EXPECT_TRUE(two->picture.isOn);
        EXPECT_NE(one->picture.address, two->picture.address);
    });
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
    const Bytes scannable{2, 1, 4, 3, 3, 0xAB, 0xFE};
    std::vector<std::uint64_t> numbers;
    Do([&] {
        one->discovery.Want(true);
        const auto note = [this](radio::Outcome result) { started.push_back(result); };
        radio::Advertising advertising;
        advertising.data = connectable;
        advertising.scanResponse = response;
        numbers.push_back(two->advertisements.Add(advertising, note, note));
        advertising.kind = radio::AdvertisementKind::kNonConnectable;
        advertising.data = silent;
        numbers.push_back(two->advertisements.Add(advertising, note, note));
        advertising.kind = radio::AdvertisementKind::kScannable;
        advertising.data = scannable;
        advertising.scanResponse.clear();
        numbers.push_back(two->advertisements.Add(advertising, note, note));
    });
    ASSERT_TRUE(Eventually([&] { return started.size() == 3; }));
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
    EXPECT_TRUE(isHeard(Kind::kScannable, scannable));
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
    Do([&] {
        const auto note = [this](radio::Outcome result) { started.push_back(result); };
        for (int i = 0; i < 6; ++i) {
            two->advertisements.Add({}, note, note);
        }
    });
    ASSERT_TRUE(Eventually([&] { return started.size() == 6; }));
    EXPECT_EQ(std::count(started.begin(), started.end(), radio::Outcome::kDone), 5);
    EXPECT_EQ(std::count(started.begin(), started.end(), radio::Outcome::kLimitReached), 1);
}

/// Reads from the kernel what there is on the second controller.
class InTheKernel : public OverBluez {
  protected:
    InTheKernel()
    {
        Do([this] {
            control = std::make_unique<Management>(
                loop, OpenManagementSocket(), [](const ManagementEvent&) {}, [] {});
        });
    }
    ~InTheKernel() override
    {
        Do([this] { control.reset(); });
    }

    bool AreThere(std::size_t instances, std::size_t monitors)
    {
        return Eventually([&] {
            Ask();
            return instanceCount == instances && monitorCount == monitors;
        });
    }

  private:
    void Ask()
    {
        constexpr std::uint16_t kReadMonitors = 0x0051;
        control->Send(kReadAdvertisingFeatures, kSecondController, {},
                      [this](ManagementStatus, std::span<const std::uint8_t> bytes) {
                          if (const auto features = DecodeAdvertisingFeatures(bytes)) {
                              instanceCount = features->instances.size();
                          }
                      });
        control->Send(kReadMonitors, kSecondController, {},
                      [this](ManagementStatus, std::span<const std::uint8_t> bytes) {
                          ByteReader reader(bytes);
                          reader.TakeBytes(4 + 4 + 2 + 1);  // what is supported
                          const auto count = reader.Take<std::uint16_t>();
                          if (!reader.IsBroken()) {
                              monitorCount = count;
                          }
                      });
    }

    std::unique_ptr<Management> control;
    std::optional<std::size_t> instanceCount;
    std::optional<std::size_t> monitorCount;
};

TEST_F(InTheKernel, AMonitorKeepsTheDuplicateFilterOff)
{
    ASSERT_TRUE(AreThere(0, 0));
    Do([this] { two->duplicateFilter.SetOff(true); });
    EXPECT_TRUE(AreThere(0, 1));
    Do([this] {
        EXPECT_EQ(two->duplicateFilter.GetState(), DuplicateFilter::State::kOff);
        two->duplicateFilter.SetOff(false);
    });
    EXPECT_TRUE(AreThere(0, 0));
}

/// A process of its own, run by the next test.
TEST_F(OverBluez, DISABLED_AServiceIsKilled)
{
    const char* const file = std::getenv(kItemsFile);
    ASSERT_NE(file, nullptr);
    std::unique_ptr<Machine> killed;
    Do([&] { killed = std::make_unique<Machine>(loop, "hci1", file); });
    EXPECT_TRUE(Eventually([&] { return killed->picture.isOn; }));
    Do([&] {
        const auto note = [this](radio::Outcome result) { started.push_back(result); };
        for (int i = 0; i < 5; ++i) {
            killed->advertisements.Add({}, note, note);
        }
        killed->duplicateFilter.SetOff(true);
    });
    EXPECT_TRUE(Eventually([&] {
        return started.size() == 5 &&
               killed->duplicateFilter.GetState() == DuplicateFilter::State::kOff;
    }));
    EXPECT_THAT(started, testing::Each(radio::Outcome::kDone));
    if (!HasFailure()) {
        std::raise(SIGKILL);
    }
    Do([&] { killed.reset(); });
}

TEST_F(InTheKernel, WhatAKilledServiceLeftIsRemoved)
{
    const test::TemporaryFolder folder;
    const std::string file = folder.File("kernel-items");
    setenv(kItemsFile, file.c_str(), 1);
    const pid_t service = fork();
    if (service == 0) {
        execl("/proc/self/exe", "service", "--gtest_also_run_disabled_tests",
              "--gtest_filter=*AServiceIsKilled", nullptr);
        _exit(1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(service, &status, 0), service);
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
    ASSERT_TRUE(AreThere(5, 1)) << "the kernel keeps them";

    std::unique_ptr<Machine> next;
    Do([&] { next = std::make_unique<Machine>(loop, "hci1", file); });
    EXPECT_TRUE(AreThere(0, 0));
    Do([&] { next.reset(); });
    EXPECT_THAT(KernelItems(file).All(KernelItems::Kind::kAdvertisement), testing::IsEmpty());
}

}  // namespace

}  // namespace pelacon::service::linux_radios::bluetooth
