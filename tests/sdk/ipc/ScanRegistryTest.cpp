// The registry of scan callbacks, and the ids that the library names after a restart of the
// service.
#include <PelaconSDK/PelaconSvc.h>
#include <tests/sdk/ipc/ScanFixture.h>

#include <string>
#include <vector>

namespace pelacon::test {

namespace {

using ::testing::Each;
using ::testing::ElementsAre;

TEST_F(ScanNotifications, RegistryOperationsAreLogged)
{
    const std::int32_t id = FreshId();
    const std::string number = std::to_string(id);
    BleScanCallbacksC& table = Lasting<BleScanCallbacksC>();
    Callbacks().AddScanCb(&table, id);
    Callbacks().AddScanCb(&table, id);
    Callbacks().AddScanCb(nullptr, id);
    EXPECT_THAT(LogLines::All(), Each(::testing::AnyOf(Start("IPCMessageSender::AddScanCb"),
                                                       End("IPCMessageSender::AddScanCb"))));
    EXPECT_EQ(LogLines::All().size(), 6U);

    LogLines::Clear();
    Callbacks().RemoveScanCb(id);
    Callbacks().RemoveScanCb(id);
    constexpr auto kRemove = "IPCMessageSender::RemoveScanCb";
    EXPECT_THAT(LogLines::All(), ElementsAre(Start(kRemove), Line(1, "remove callback", kRemove),
                                             End(kRemove), Start(kRemove), End(kRemove)));

    LogLines::Clear();
    constexpr auto kScanStart = "IPCMessageSender::ScanStart";
    Callbacks().ScanStart(id);
    Callbacks().ScanStart(id);
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Line(1, "start:" + number, kScanStart), End(kScanStart),
                            Line(1, "start:" + number, kScanStart),
                            Line(1, "already start:" + number, kScanStart), End(kScanStart)));

    LogLines::Clear();
    constexpr auto kScanStop = "IPCMessageSender::ScanStop";
    Callbacks().ScanStop(id);
    Callbacks().ScanStop(id);
    EXPECT_THAT(
        LogLines::All(),
        ElementsAre(Line(1, "start:" + number, kScanStop), Line(1, "stop ok:" + number, kScanStop),
                    End(kScanStop), Line(1, "start:" + number, kScanStop), End(kScanStop)));
}

TEST_F(ScanNotifications, RegistrationsSurviveStopAndStart)
{
    const std::int32_t id = Scanning(RegisterRecording<1>());
    PelaconSvcStop();
    ASSERT_EQ(PelaconSvcStart(), 0);
    Result(1);
    EXPECT_THAT(DeliveredTo(), ElementsAre(std::pair(1, id)));
}

// ---- The ids that the library names after a restart of the service

ByteVector RepairPayload(Channel& channel)
{
    channel.ForgetSent();
    channel.Reply(0xD700A1, Bytes().I32(0));
    channel.DeliverWithoutPayload(0xD700A0);
    for (const Sent& sent : channel.Requests()) {
        if (sent.item.msgId == 0xD700A1) {
            return sent.payload;
        }
    }
    ADD_FAILURE() << "no repair request";
    return {};
}

TEST_F(ScanNotifications, TheRepairNamesTheTenLowestListeners)
{
    // The id with a null table and the unregistered one are left out, whether or not they scan.
    std::vector<std::int32_t> ids = {-5, 40, 7, 2000000, 12, 9, 11, 500, 501, 499, 3};
    for (const std::int32_t id : ids) {
        RegisterAs(id, &Lasting<BleScanCallbacksC>());
    }
    RegisterAs(1, nullptr);
    RegisterAs(2, &Lasting<BleScanCallbacksC>());
    BleScanner::BleScanUnRegisterCallbacks(2);
    Bytes expected;
    expected.Zeros(40);
    for (const std::int32_t id : {-5, 3, 7, 9, 11, 12, 40, 499, 500, 501}) {
        expected.I32(id);
    }
    expected.Zeros(40);
    EXPECT_EQ(RepairPayload(channel), ByteVector(expected));
}

TEST_F(ScanNotifications, UnusedSlotsOfTheRepairAreZero)
{
    RegisterAs(8, &Lasting<BleScanCallbacksC>());
    RegisterAs(6, &Lasting<BleScanCallbacksC>());
    EXPECT_EQ(RepairPayload(channel), ByteVector(Bytes().Zeros(40).I32(6).I32(8).Zeros(72)));
}

}  // namespace

}  // namespace pelacon::test
