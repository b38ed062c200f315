// Targeted advertisements between programs.
#include <PelaconSDK/PelaconSDK.h>
#include <tests/support/Mailbox.h>
#include <tests/support/ServiceProcess.h>

#include <nlohmann/json.hpp>

#include <cstring>

namespace pelacon::test {

namespace {

struct TargetedAdvertisement {
    int table = 0;
    TargetAdvInfo info{};
};

Mailbox<TargetedAdvertisement>& TargetedAdvertisements()
{
    static auto& received = *new Mailbox<TargetedAdvertisement>;
    return received;
}

template <int Table>
VoviewRecvAdvCallbacksC targetTable{[](TargetAdvInfo info) {
    TargetedAdvertisements().Put({Table, info});
}};

class TargetAdv : public ::testing::Test {
  protected:
    TargetAdv()
    {
        TargetedAdvertisements().Clear();
        EXPECT_EQ(PelaconSvcStart(), 0);
    }
    ~TargetAdv() override { PelaconSvcStop(); }

    static void Register(std::int32_t business, VoviewRecvAdvCallbacksC* callbacks)
    {
        TargetAdvFilter filter{};
        filter.business = static_cast<BleTargetBusiness>(business);
        EXPECT_EQ(BleScanner::BleRegisterTargetAdvCallback(filter, callbacks), 0);
    }
    static TargetAdvInfo Info(std::int32_t business, std::uint8_t fill)
    {
        TargetAdvInfo info{};
        info.business = static_cast<BleTargetBusiness>(business);
        std::memset(info.data, fill, sizeof info.data);
        return info;
    }

    ServiceProcess service{"{}"};
};

TEST_F(TargetAdv, ReachesTheListenersOfItsBusinessOnly)
{
    Register(41, &targetTable<1>);
    Register(42, &targetTable<2>);
    const TargetAdvInfo info = Info(42, 0xA5);
    EXPECT_EQ(BleScanner::BleOnRecvVoviewData(info), 0);
    const TargetedAdvertisement received = TargetedAdvertisements().Next();
    EXPECT_EQ(received.table, 2);
    EXPECT_EQ(std::memcmp(&received.info, &info, sizeof info), 0);
    EXPECT_EQ(BleScanner::BleUnRegisterTargetAdvCallback(static_cast<BleTargetBusiness>(42)), 0);
    EXPECT_EQ(BleScanner::BleOnRecvVoviewData(info), 0);
    EXPECT_EQ(BleScanner::BleOnRecvVoviewData(Info(41, 1)), 0);
    EXPECT_EQ(TargetedAdvertisements().Next().table, 1);
    EXPECT_EQ(BleScanner::BleUnRegisterTargetAdvCallback(static_cast<BleTargetBusiness>(41)), 0);
}

TEST_F(TargetAdv, IsReceivedByAnotherProgram)
{
    Register(43, &targetTable<3>);
    const CommandResult sent = Pelaconctl({"targets", "send", "43", "0a0b"});
    EXPECT_EQ(sent.exitCode, 0) << sent.errors;
    const TargetedAdvertisement received = TargetedAdvertisements().Next();
    EXPECT_EQ(received.info.business, 43);
    EXPECT_EQ(received.info.data[0], 0x0A);
    EXPECT_EQ(received.info.data[1], 0x0B);
    EXPECT_EQ(received.info.data[35], 0);
    EXPECT_EQ(BleScanner::BleUnRegisterTargetAdvCallback(static_cast<BleTargetBusiness>(43)), 0);
}

TEST_F(TargetAdv, IsReceivedAfterARestart)
{
    Register(44, &targetTable<4>);
    service.Restart();
    EXPECT_TRUE(Eventually([&] {
        return service.Command({{"command", "status"}})["targetedAdvertisements"]["listeners"] == 1;
    }));
    EXPECT_EQ(BleScanner::BleOnRecvVoviewData(Info(44, 1)), 0);
    EXPECT_EQ(TargetedAdvertisements().Next().table, 4);
    EXPECT_EQ(BleScanner::BleUnRegisterTargetAdvCallback(static_cast<BleTargetBusiness>(44)), 0);
}

}  // namespace

}  // namespace pelacon::test
