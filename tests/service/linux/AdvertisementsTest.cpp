#include <service/linux/bluetooth/Advertisements.h>
#include <tests/service/linux/Recorded.h>
#include <tests/service/linux/SocketPair.h>
#include <tests/service/linux/StackTest.h>

namespace pelacon::service::linux_radios::tests {

namespace {

using Sent = radio::Outcome;
using nlohmann::json;

/// Advertisements by their numbers, and what is reported of them.
class AdvertisementsTest : public StackTest {
  protected:
    void Make(ManagementLink::OpenSocket open)
    {
        Do([&] {
            advertisements = std::make_unique<Advertisements>(*stack, items, std::move(open),
                                                              [this] { ++wayChanges; });
        });
        StartBluez();
        Start();
        ASSERT_TRUE(Eventually([this] { return stack->Adapter().has_value(); }));
    }
    ~AdvertisementsTest() override
    {
        Do([this] { advertisements.reset(); });
    }

    /// The numbers are those of the calls, from 1 on.
    void Add(std::uint64_t number, const radio::Advertising& advertisement = {})
    {
        Do([&] {
            const auto note = [this, number](const char* what) {
                return [this, number, what](Sent outcome) {
                    events.push_back(std::to_string(number) + what +
                                     std::to_string(static_cast<int>(outcome)));
                };
            };
            EXPECT_EQ(advertisements->Add(advertisement, note(" started "), note(" ended ")),
                      number);
        });
    }
    void Remove(std::uint64_t number)
    {
        Do([&] { advertisements->Remove(number); });
    }
    bool Sees(const std::vector<std::string>& expected)
    {
        return Eventually([&] { return events == expected; });
    }

    std::vector<std::string> events;
    int wayChanges = 0;
    KernelItems items{""};
    std::unique_ptr<Advertisements> advertisements;
};

class RawAdvertisements : public AdvertisementsTest {
  protected:
    void SetUp() override
    {
        Make([this] {
            if (!sockets) {
                throw std::system_error(std::make_error_code(std::errc::no_such_device));
            }
            return std::move(sockets->service);
        });
    }

    /// Expects a command, given without controller and length, and answers it.
    void Expect(const char* command, const char* parameters, const char* reply,
                const char* status = "00")
    {
        const auto bytes = FromHex(parameters);
        auto expected = FromHex(command);
        expected.insert(expected.end(), {0, 0, static_cast<std::uint8_t>(bytes.size()), 0});
        expected.insert(expected.end(), bytes.begin(), bytes.end());
        EXPECT_EQ(sockets->Receive(), expected);
        const auto answer = FromHex(std::string(command) + status + reply);
        std::vector<std::uint8_t> packet{1, 0, 0, 0, static_cast<std::uint8_t>(answer.size()), 0};
        packet.insert(packet.end(), answer.begin(), answer.end());
        sockets->Send(packet);
    }
    /// What is asked before each start; "used" as a count and the instances.
    void ExpectFeatures(const std::string& used)
    {
        Expect("3d00", "", ("7ff001001f1f05" + used).c_str());
    }

    /// Adds an advertisement without data, which is sent as instance 5.
    void AddOne()
    {
        Add(1);
        ExpectFeatures("00");
        Expect("5400", kParameters, "05 00 1f 1f");
        Expect("5500", "05 00 00", "05");
        ASSERT_TRUE(Sees({"1 started 0"}));
    }

    /// Of an advertisement by default, as instance 5.
    static constexpr const char* kParameters = "05 01c00000 0000 0000 a0000000 a0000000 00";

    std::optional<SocketPair> sockets{std::in_place};
};

TEST_F(RawAdvertisements, AreSentUnchangedFromTheHighestInstanceDown)
{
    radio::Advertising advertisement;
    advertisement.shortestInterval = std::chrono::milliseconds(100);
    advertisement.longestInterval = std::chrono::milliseconds(200);
    advertisement.txPower = -7;
    advertisement.data = FromHex("020106");
    advertisement.scanResponse = FromHex("020961");
    Add(1, advertisement);
    ExpectFeatures("00");
    Expect("5400", "05 01c00000 0000 0000 a0000000 40010000 f9", "05 00 1f 1f");
    Expect("5500", "05 03 03 020106 020961", "05");
    ASSERT_TRUE(Sees({"1 started 0"}));
    EXPECT_EQ(Do([this] { return advertisements->GetWay(); }), Advertisements::Way::kRaw);

    advertisement.kind = radio::AdvertisementKind::kScannable;
    Add(2, advertisement);
    ExpectFeatures("0104");
    Expect("5400", "03 00c00000 0000 0000 a0000000 40010000 f9", "03 00 1f 1f");
    Expect("5500", "03 03 03 020106 020961", "03");
    ASSERT_TRUE(Sees({"1 started 0", "2 started 0"}));

    Remove(1);
    Expect("3f00", "05", "05");
    Remove(2);
    Expect("3f00", "03", "03");
    EXPECT_TRUE(Sees({"1 started 0", "2 started 0"}));
}

TEST_F(RawAdvertisements, AreLimitedByTheController)
{
    Add(1);
    ExpectFeatures("050102030405");
    EXPECT_TRUE(Sees({"1 started 5"}));
}

TEST_F(RawAdvertisements, AreRemovedWhenTheirDataIsRefused)
{
    Add(1);
    ExpectFeatures("00");
    Expect("5400", kParameters, "05 00 1f 1f");
    Expect("5500", "05 00 00", "", "0d");
    EXPECT_TRUE(Sees({"1 started 6"}));
    Expect("3f00", "05", "05");
}

TEST_F(RawAdvertisements, AreAddedAgainWhenAnotherProgramRemovesThem)
{
    AddOne();
    sockets->Send(FromHex("2400 0000 0100 05"));
    ExpectFeatures("00");
    Expect("5400", kParameters, "", "0b");
    EXPECT_TRUE(Sees({"1 started 0", "1 ended 6"}));
}

TEST_F(RawAdvertisements, EndWithTheAdapter)
{
    AddOne();
    bluetoothd->Do({{"do", "change"}, {"path", "hci0"}, {"Powered", false}});
    EXPECT_TRUE(Sees({"1 started 0", "1 ended 1"}));
    Expect("3f00", "05", "05");
}

TEST_F(RawAdvertisements, AreRemovedAtTheEnd)
{
    AddOne();
    Do([this] { advertisements.reset(); });
    EXPECT_EQ(sockets->Receive(), FromHex("3f00 0000 0100 05"));
}

TEST_F(RawAdvertisements, GoThroughBluezWhereTheKernelRefuses)
{
    Add(1);
    ExpectFeatures("00");
    Expect("5400", kParameters, "", "14");
    EXPECT_TRUE(Sees({"1 started 0"}));
    EXPECT_EQ(Do([this] { return advertisements->GetWay(); }), Advertisements::Way::kRebuilt);
    EXPECT_EQ(Do([this] { return wayChanges; }), 1);
    EXPECT_EQ(bluetoothd->Do({{"do", "advertisements"}}).size(), 1U);
}

TEST_F(RawAdvertisements, AreRemovedThroughANewSocketAfterTheLossOfTheFirst)
{
    AddOne();
    sockets->kernel.Close();
    bool isTurnOver = false;  // of the loop, which has seen the end of the socket by then
    Loop::Timer turn =
        Do([&] { return loop.After(Loop::Duration::zero(), [&] { isTurnOver = true; }); });
    ASSERT_TRUE(Eventually([&] { return isTurnOver; }));
    Do([&] {
        turn.Cancel();
        sockets.emplace();
    });
    Remove(1);
    // Both as what an earlier socket has left, and for the call.
    Expect("3f00", "05", "05");
    Expect("3f00", "05", "", "0d");
    EXPECT_EQ(Do([this] { return items.All(KernelItems::Kind::kAdvertisement).size(); }), 0U);
}

TEST_F(RawAdvertisements, GoThroughBluezWithoutAnyRight)
{
    Add(1);
    Expect("3d00", "", "", "14");
    EXPECT_TRUE(Sees({"1 started 0"}));
    EXPECT_EQ(Do([this] { return advertisements->GetWay(); }), Advertisements::Way::kRebuilt);
}

TEST_F(RawAdvertisements, AreRemovedOnceTheAdapterIsOnAgain)
{
    AddOne();
    bluetoothd->Do({{"do", "change"}, {"path", "hci0"}, {"Powered", false}});
    Expect("3f00", "05", "", "0f");  // the kernel refuses while the controller is off
    bluetoothd->Do({{"do", "change"}, {"path", "hci0"}, {"Powered", true}});
    Expect("3f00", "05", "05");
}

class RebuiltAdvertisements : public AdvertisementsTest {
  protected:
    void SetUp() override
    {
        Make([]() -> FileDescriptor {
            throw std::system_error(std::make_error_code(std::errc::operation_not_permitted));
        });
    }
};

TEST_F(RebuiltAdvertisements, AreGivenToBluezAsFields)
{
    radio::Advertising advertisement;
    advertisement.data = FromHex("020106 03030d18 05ff34120a0b 0416aafe01 021bff");
    advertisement.scanResponse = FromHex("04096162 63 0319c103");
    Add(1, advertisement);
    ASSERT_TRUE(Sees({"1 started 0"}));
    const json all = bluetoothd->Do({{"do", "advertisements"}});
    ASSERT_EQ(all.size(), 1U);
    EXPECT_EQ(all.begin().value(),
              (json{{"Type", "peripheral"},
                    {"ServiceUUIDs", {"0000180d-0000-1000-8000-00805f9b34fb"}},
                    {"ManufacturerData", {{"4660", "0a0b"}}},
                    {"ServiceData", {{"0000feaa-0000-1000-8000-00805f9b34fb", "01"}}},
                    {"Data", {{"27", "ff"}}},
                    {"LocalName", "abc"},
                    {"Appearance", 961}}));
    Remove(1);
    EXPECT_TRUE(test::Eventually([this] {
        return bluetoothd->Do({{"do", "advertisements"}}).empty();
    }));
}

TEST_F(RebuiltAdvertisements, ReportTheReasonOfARefusal)
{
    bluetoothd->Do({{"do", "fail"},
                    {"method", "RegisterAdvertisement"},
                    {"error", "org.freedesktop.DBus.Error.AccessDenied"}});
    Add(1);
    ASSERT_TRUE(Sees({"1 started 4"}));
    for (std::uint64_t number = 2; number < 8; ++number) {
        Add(number);
    }
    ASSERT_TRUE(Eventually([this] { return events.size() == 7; }));
    EXPECT_THAT(Do([this] { return events; }), testing::Contains("7 started 5"));
}

TEST_F(RebuiltAdvertisements, EndWhenBluezReleasesThem)
{
    Add(1);
    ASSERT_TRUE(Sees({"1 started 0"}));
    const std::string path = bluetoothd->Do({{"do", "advertisements"}}).begin().key();
    bluetoothd->Do({{"do", "release"}, {"path", path}});
    EXPECT_TRUE(Sees({"1 started 0", "1 ended 6"}));
}

TEST_F(RebuiltAdvertisements, EndWithBluez)
{
    Add(1);
    ASSERT_TRUE(Sees({"1 started 0"}));
    bluetoothd->Kill();
    ASSERT_TRUE(Sees({"1 started 0", "1 ended 1"}));
    Add(2);
    EXPECT_TRUE(Sees({"1 started 0", "1 ended 1", "2 started 1"}));
}

}  // namespace

}  // namespace pelacon::service::linux_radios::tests
