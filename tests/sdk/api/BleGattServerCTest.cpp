#include <PelaconSDK/BleGattServer.h>
#include <tests/sdk/GattIds.h>
#include <tests/support/SdkTest.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace pelacon::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The C form: what it adds to the members.
class BleGattServerCTest : public SdkTest {};

TEST_F(BleGattServerCTest, ForwardsWhatNeedsNoConversion)
{
    auto& table = Lasting<BtGattServerCallbacksC>();
    std::int32_t serverId = 0;
    const std::int32_t id = FreshId();
    channel.Reply(0xD7006E, Bytes().I32(id).I32(0));
    EXPECT_EQ(BleGattServerRegister(&table, &serverId), 0);
    EXPECT_EQ(serverId, id);
    EXPECT_EQ(BleGattServerRegister(nullptr, &serverId), -1);

    channel.Reply(0xD7006F, Bytes().I32(2));
    EXPECT_EQ(BleGattServerUnRegister(kServer), 2);
    channel.Reply(0xD70071, Bytes().I32(3));
    EXPECT_EQ(BleGattServerDeleteService(kServer, kHandle), 3);
    channel.Reply(0xD70073, Bytes().I32(4));
    EXPECT_EQ(BleGattServerStartService(kServer, kHandle), 4);
    channel.Reply(0xD70074, Bytes().I32(5));
    EXPECT_EQ(BleGattServerStopService(kServer, kHandle), 5);

    const ByteVector handle = Bytes().I32(kServer).I32(kHandle);
    EXPECT_THAT(channel.Requests(),
                ElementsAre(RequestIs(0xD7006E, {}, 10000),
                            RequestIs(0xD7006F, Bytes().I32(kServer), 10000),
                            RequestIs(0xD70071, handle, 10000), RequestIs(0xD70073, handle, 10000),
                            RequestIs(0xD70074, handle, 10000)));
}

TEST_F(BleGattServerCTest, AddService)
{
    std::int32_t handle = 0;
    channel.Reply(0xD70070, Bytes().I32(12).I32(0));
    EXPECT_EQ(BleGattServerAddService(kServer, "180d", &handle), 0);
    EXPECT_EQ(handle, 12);
    EXPECT_THAT(channel.OnlyRequest(),
                RequestIs(0xD70070, Bytes().I32(kServer).Text("180d", 37).Zeros(3), 10000));
}

TEST_F(BleGattServerCTest, AddServiceChecksTheHandleThenTheText)
{
    constexpr auto kFunction = "BleGattServer::BleGattServerAddService";
    std::int32_t handle = -5;
    EXPECT_EQ(BleGattServerAddService(kServer, nullptr, nullptr), -1);
    EXPECT_EQ(BleGattServerAddService(kServer, nullptr, &handle), -1);
    EXPECT_EQ(BleGattServerAddService(kServer, kTooLong.c_str(), &handle), -10);
    EXPECT_THAT(channel.Requests(), IsEmpty());
    EXPECT_EQ(handle, -5);
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Start(kFunction), Line(4, "null", kFunction), Start(kFunction),
                            Line(4, "serviceUuidData null", kFunction), Start(kFunction),
                            Line(4, "memcpy failed", kFunction)));
}

TEST_F(BleGattServerCTest, AddCharacteristicOfARecord)
{
    channel.Reply(0xD70072, Bytes().I32(1));
    for (const std::uint32_t length : {0U, 1U, 1024U}) {
        BLECharacteristicInfoC info{};
        std::strcpy(info.charUuid, "2a37");  // NOLINT(clang-analyzer-security*)
        info.flags = 0x7700000012;
        std::fill(std::begin(info.value), std::end(info.value), std::uint8_t{9});
        info.valueLen = length;
        EXPECT_EQ(BleGattServerAddCharacteristic(kServer, kHandle, &info), 1);
        EXPECT_THAT(channel.OnlyRequest(), RequestIs(0xD70072,
                                                     Bytes()
                                                         .I32(kServer)
                                                         .I32(kHandle)
                                                         .Text("2a37", 37)
                                                         .Zeros(3)
                                                         .I32(0x12)
                                                         .Zeros(12)
                                                         .Raw(ByteVector(length, 9), 1024)
                                                         .U32(length)
                                                         .Zeros(4),
                                                     10000));
        ForgetWhatHappened();
    }
}

TEST_F(BleGattServerCTest, AddCharacteristicKeepsTheTable)
{
    static int reads;
    reads = 0;
    auto& server = Lasting<BtGattServerCallbacksC>();
    auto& table =
        Lasting<BtGattCharCallbacksC>({[](std::uint64_t, const char*, const char*,
                                          const std::uint8_t*, std::uint32_t) { ++reads; },
                                       nullptr});
    const std::int32_t id = FreshId();
    std::int32_t handle = 0;
    std::int32_t serverId = 0;
    channel.Reply(0xD7006E, Bytes().I32(id).I32(0));
    channel.Reply(0xD70070, Bytes().I32(12).I32(0));
    channel.Reply(0xD70072, Bytes().I32(0));
    EXPECT_EQ(BleGattServerRegister(&server, &serverId), 0);
    EXPECT_EQ(BleGattServerAddService(id, "180d", &handle), 0);
    BLECharacteristicInfoC info{};
    std::strcpy(info.charUuid, "2a37");  // NOLINT(clang-analyzer-security*)
    info.callbacks = &table;
    EXPECT_EQ(BleGattServerAddCharacteristic(id, handle, &info), 0);
    channel.Deliver(
        0xD80079,
        Bytes().I32(id).I32(handle).U64(kPeer).Text("2a37", 37).Zeros(1024).Zeros(3).U32(0));
    EXPECT_EQ(reads, 1);
}

TEST_F(BleGattServerCTest, AddCharacteristicRefusesWhatDoesNotFit)
{
    EXPECT_EQ(BleGattServerAddCharacteristic(kServer, kHandle, nullptr), -1);
    EXPECT_THAT(LogLines::All(), IsEmpty());

    BLECharacteristicInfoC info{};
    for (const std::uint32_t length : {1025U, 0xFFFFFFFFU}) {
        info.valueLen = length;
        EXPECT_EQ(BleGattServerAddCharacteristic(kServer, kHandle, &info), -10);
    }
    info.valueLen = 0;
    std::fill(std::begin(info.charUuid), std::end(info.charUuid), 'a');  // and no NUL
    EXPECT_EQ(BleGattServerAddCharacteristic(kServer, kHandle, &info), -10);
    EXPECT_THAT(channel.Requests(), IsEmpty());
}

TEST_F(BleGattServerCTest, PublishNotify)
{
    channel.Reply(0xD70075, Bytes().I32(0));
    for (const std::uint32_t length : {0U, 1U, 1024U}) {
        const ByteVector value = Counting(length);
        EXPECT_EQ(BleGattServerPublishNotify(kServer, kHandle, "2a37", value.data(), length, kPeer),
                  0);
        EXPECT_THAT(channel.OnlyRequest(), RequestIs(0xD70075, Publish("2a37", value), 10000));
        ForgetWhatHappened();
    }
    EXPECT_EQ(BleGattServerPublishNotify(kServer, kHandle, "2a37", nullptr, 0, kPeer), 0);
}

TEST_F(BleGattServerCTest, PublishNotifyRefusesWhatDoesNotFit)
{
    const ByteVector value = Counting(1025);
    for (const std::uint32_t length : {1025U, 0xFFFFFFFFU}) {
        EXPECT_EQ(BleGattServerPublishNotify(kServer, kHandle, "2a37", value.data(), length, kPeer),
                  -10);
    }
    ForgetWhatHappened();
    EXPECT_EQ(BleGattServerPublishNotify(kServer, kHandle, nullptr, value.data(), 1, kPeer), -1);
    EXPECT_EQ(BleGattServerPublishNotify(kServer, kHandle, "2a37", nullptr, 1, kPeer), -1);
    EXPECT_THAT(channel.Requests(), IsEmpty());
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Line(4, "invalid params", "BleGattServerPublishNotify"),
                            Line(4, "invalid params", "BleGattServerPublishNotify")));
}

class BleGattServerPublishNotifyExtTest : public BleGattServerCTest {
  protected:
    BleGattServerPublishNotifyExtTest()
    {
        info.serverId = kServer;
        info.serviceHandle = kHandle;
        std::strcpy(info.charUuid, "2a37");  // NOLINT(clang-analyzer-security*)
        info.peer = kPeer;
    }

    BleGattNotifyInfoC info{};
};

TEST_F(BleGattServerPublishNotifyExtTest, SendsTheRecordsFields)
{
    channel.Reply(0xD70075, Bytes().I32(0));
    const ByteVector value = Counting(1024);
    std::copy(value.begin(), value.end(), info.value);
    std::fill(std::begin(info.reserved1), std::end(info.reserved1), std::uint8_t{0xEE});
    for (const std::uint32_t length : {1U, 1024U}) {
        info.valueLen = length;
        EXPECT_EQ(BleGattServerPublishNotifyExt(&info), 0);
        EXPECT_THAT(channel.OnlyRequest(),
                    RequestIs(0xD70075, Publish("2a37", Counting(length)), 10000));
        ForgetWhatHappened();
    }
}

TEST_F(BleGattServerPublishNotifyExtTest, RefusesNullAndEmptyValues)
{
    EXPECT_EQ(BleGattServerPublishNotifyExt(nullptr), -1);
    info.valueLen = 0;
    EXPECT_EQ(BleGattServerPublishNotifyExt(&info), -1);
    EXPECT_THAT(channel.Requests(), IsEmpty());
    EXPECT_THAT(LogLines::All(), IsEmpty());
}

TEST_F(BleGattServerPublishNotifyExtTest, RefusesWhatDoesNotFit)
{
    for (const std::uint32_t length : {1025U, 0xFFFFFFFFU}) {
        info.valueLen = length;
        EXPECT_EQ(BleGattServerPublishNotifyExt(&info), -10);
    }
    info.valueLen = 1;
    std::fill(std::begin(info.charUuid), std::end(info.charUuid), 'a');  // and no NUL
    EXPECT_EQ(BleGattServerPublishNotifyExt(&info), -10);
    EXPECT_THAT(channel.Requests(), IsEmpty());
}

}  // namespace

}  // namespace pelacon::test
