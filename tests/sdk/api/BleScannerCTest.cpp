// The C forms of scanner and advertiser: that they forward, and where they differ.
#include <PelaconSDK/BleAdvertiser.h>
#include <PelaconSDK/BleScanner.h>
#include <tests/support/SdkTest.h>

#include <cstring>

namespace pelacon::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST_F(SdkTest, ScannerCFormsForward)
{
    const std::int32_t id = FreshId();
    int stored = 0;
    channel.Reply(0xD70064, Bytes().I32(id).I32(0));
    EXPECT_EQ(::BleScanRegisterCallbacks(&Lasting<BleScanCallbacksC>(), &stored), 0);
    EXPECT_EQ(stored, id);

    const auto check = [&](std::int32_t request, const ByteVector& payload, int (*call)(int)) {
        channel.ForgetSent();
        channel.Reply(request, Bytes().I32(request & 0xFF));
        EXPECT_EQ(call(id), request & 0xFF);
        EXPECT_THAT(channel.OnlyRequest(), RequestIs(request, payload, 5000));
    };
    check(0xD70066, Bytes().I32(id).I32(2),
          [](int listener) -> int { return ::StartBleScan(listener, kBleScanLowLatency); });
    check(0xD70068, Bytes().I32(id), [](int listener) -> int { return ::StopBleScan(listener); });
    check(0xD70076, Bytes().I32(id).Zeros(200).I32(-2).U32(0),
          [](int listener) -> int { return ::SetScanFilter(listener, nullptr, -2); });
    check(0xD70077, Bytes().I32(id),
          [](int listener) -> int { return ::RemoveScanFilter(listener); });
    check(0xD70065, Bytes().I32(id),
          [](int listener) -> int { return ::BleScanUnRegisterCallbacks(listener); });
    check(0xD7007C, {}, [](int) -> int { return ::BleRegisterTargetAdvCallback({}, nullptr); });
    check(0xD7007D, Bytes().I32(2),
          [](int) -> int { return ::BleUnRegisterTargetAdvCallback(kBleTargetHandoff); });
    check(0xD8007B, Bytes().I32(1).Zeros(35).U8(9), [](int) -> int {
        TargetAdvInfo info{};
        info.business = kBleTargetPairing;
        info.data[35] = 9;
        return ::BleOnRecvVoviewData(info);
    });
}

TEST_F(SdkTest, AdvertiserCFormsForward)
{
    const std::int32_t id = FreshId();
    int stored = 0;
    channel.Reply(0xD7003C, Bytes().I32(id).I32(0));
    EXPECT_EQ(::BleAdvRegisterCallbacks(&Lasting<BleAdvCallbacksC>(), &stored), 0);
    EXPECT_EQ(stored, id);
    EXPECT_EQ(::BleAdvRegisterCallbacks(nullptr, &stored), -1);
    channel.ForgetSent();
    channel.Reply(0xD70041, Bytes().I32(6));
    EXPECT_EQ(::BleStopAdvertise(id), 6);
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(0xD70041, Bytes().I32(id), 5000));
    channel.ForgetSent();
    channel.Reply(0xD7003D, Bytes().I32(7));
    EXPECT_EQ(::BleAdvUnRegisterCallbacks(id), 7);
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(0xD7003D, Bytes().I32(id), 5000));
}

TEST_F(SdkTest, StartAdvertiseInC)
{
    channel.Reply(0xD7003F, Bytes().I32(4));
    const BleAdvertiseParamsC params{1, 2, 3, 1, 5, 7, 6};
    const ByteVector advData = Counting(31);
    const ByteVector scanResp = {9, 8};
    const BleAdvertiseDataC data{31, advData.data(), 2, scanResp.data()};
    EXPECT_EQ(::BleStartAdvertise(12, &params, &data), 4);
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(0xD7003F,
                                                 Bytes()
                                                     .I32(12)
                                                     .I32(1)
                                                     .I32(2)
                                                     .I32(3)
                                                     .I32(1)
                                                     .I32(5)
                                                     .I32(7)
                                                     .I32(6)
                                                     .Raw(advData)
                                                     .U8(0)
                                                     .U32(31)
                                                     .Raw(scanResp, 31)
                                                     .U8(0)
                                                     .U32(2),
                                                 5000));
}

TEST_F(SdkTest, StartAdvertiseInCAcceptsNoData)
{
    channel.Reply(0xD7003F, Bytes().I32(0));
    const BleAdvertiseParamsC params{};
    const std::uint8_t unused = 7;
    for (const BleAdvertiseDataC& data :
         {BleAdvertiseDataC{0, nullptr, 0, nullptr}, BleAdvertiseDataC{0, &unused, 0, &unused}}) {
        channel.ForgetSent();
        EXPECT_EQ(::BleStartAdvertise(12, &params, &data), 0);
        EXPECT_THAT(channel.OnlyRequest(), RequestIs(0xD7003F, Bytes().I32(12).Zeros(100), 5000));
    }
}

TEST_F(SdkTest, StartAdvertiseInCRefusesTooMuch)
{
    const BleAdvertiseParamsC params{};
    const ByteVector bytes = Counting(32);
    const BleAdvertiseDataC longData{32, bytes.data(), 0, nullptr};
    const BleAdvertiseDataC longResponse{0, nullptr, 32, bytes.data()};
    EXPECT_EQ(::BleStartAdvertise(12, &params, &longData), -10);
    EXPECT_EQ(::BleStartAdvertise(12, &params, &longResponse), -10);
    EXPECT_THAT(channel.Requests(), IsEmpty());
}

TEST_F(SdkTest, StartAdvertiseInCRefusesNulls)
{
    const BleAdvertiseParamsC params{};
    const BleAdvertiseDataC nothing{};
    const BleAdvertiseDataC noData{1, nullptr, 0, nullptr};
    const BleAdvertiseDataC noResponse{0, nullptr, 0xFFFFFFFF, nullptr};
    EXPECT_EQ(::BleStartAdvertise(12, nullptr, &nothing), -1);
    EXPECT_EQ(::BleStartAdvertise(12, &params, nullptr), -1);
    EXPECT_EQ(::BleStartAdvertise(12, &params, &noData), -1);
    EXPECT_EQ(::BleStartAdvertise(12, &params, &noResponse), -1);
    EXPECT_THAT(channel.Requests(), IsEmpty());
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Line(3, "params is nullptr, return", "BleStartAdvertise"),
                            Line(3, "data is nullptr, return", "BleStartAdvertise"),
                            Line(3, "advData is nullptr, return", "BleStartAdvertise"),
                            Line(3, "scanResp is nullptr, return", "BleStartAdvertise")));
}

static_assert(sizeof(BleScanResultC) == 64);
static_assert(sizeof(BleScanFilter) == 40);
static_assert(sizeof(TargetAdvFilter) == 276);
static_assert(sizeof(TargetAdvInfo) == 40);
static_assert(sizeof(BleAdvertiseParamsC) == 28);
static_assert(sizeof(BleAdvertiseDataC) == 32);
static_assert(offsetof(BleScanFilter, patternLength) == 4);
static_assert(offsetof(BleScanFilter, patternData) == 8);
static_assert(offsetof(BleAdvertiseParamsC, advEventType) == 12);
static_assert(offsetof(BleAdvertiseParamsC, sendTotalTime) == 20);
static_assert(offsetof(BleAdvertiseParamsC, sendPartTime) == 24);

}  // namespace

}  // namespace pelacon::test
