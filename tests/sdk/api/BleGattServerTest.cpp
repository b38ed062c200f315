#include <PelaconSDK/BleGattClient.h>
#include <PelaconSDK/BleGattServer.h>
#include <tests/sdk/GattIds.h>
#include <tests/sdk/api/GattOperation.h>
#include <tests/support/SdkTest.h>

#include <chrono>
#include <future>
#include <string>
#include <vector>

namespace pelacon::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string kUuid = "0000180d-0000-1000-8000-00805f9b34fb";  // exactly 36 characters

ByteVector Status(std::int32_t status)
{
    return Bytes().I32(status);
}
ByteVector ValueAndStatus(std::int32_t status)
{
    return Bytes().I32(77).I32(status);
}

Bytes AddCharacteristic(const std::string& uuid, std::int32_t flags, const ByteVector& value)
{
    return ServerIds()
        .Text(uuid, 37)
        .Zeros(3)
        .I32(flags)
        .Zeros(12)
        .Raw(value, 1024)
        .U32(static_cast<std::uint32_t>(value.size()))
        .Zeros(4);
}

BLECharacteristicInfo& Info(std::string uuid, ByteVector value)
{
    return Lasting<BLECharacteristicInfo>({std::move(uuid), -6, nullptr, std::move(value)});
}

GattOperation Reporting(GattOperation operation, int type, const std::string& uuid,
                        std::int32_t server, std::int32_t handle)
{
    constexpr auto kFunction = "ReportServerError";
    operation.event =
        Event{954082010,
              {Int("EventType", type), Int("ErrorCode", 10), Int("BusinessId", server),
               Int("ServiceHandle", handle), Str("CharUuid", uuid)}};
    operation.eventLines = {
        Line(2, "[VoView]==== 954082010 ====", kFunction),
        Line(2, "[VoView]EventType:" + std::to_string(type) + ",ErrorCode:10", kFunction),
        Line(3, "[VoView]BusinessId " + std::to_string(server), kFunction),
        Line(3, "[VoView]ServiceHandle " + std::to_string(handle), kFunction),
        Line(3, "[VoView]CharUuid " + uuid, kFunction)};
    return operation;
}

GattOperation Operation(std::string name, std::int32_t id, ByteVector payload,
                        std::function<BleStatusC()> call,
                        std::function<ByteVector(std::int32_t)> reply = Status)
{
    return {.className = "BleGattServer",
            .name = std::move(name),
            .id = id,
            .payload = std::move(payload),
            .call = std::move(call),
            .reply = std::move(reply)};
}

std::vector<GattOperation> Operations()
{
    static std::int32_t output;
    static BtGattServerCallbacksC table;
    return {
        Reporting(Operation(
                      "BleGattServerRegister", 0xD7006E, {},
                      [] { return BleGattServer::BleGattServerRegister(&table, &output); },
                      ValueAndStatus),
                  1, "NA", 0, 0),
        Operation("BleGattServerUnRegister", 0xD7006F, Bytes().I32(kServer),
                  [] { return BleGattServer::BleGattServerUnRegister(kServer); }),
        Reporting(
            Operation(
                "BleGattServerAddService", 0xD70070, Bytes().I32(kServer).Text(kUuid, 37).Zeros(3),
                [] { return BleGattServer::BleGattServerAddService(kServer, kUuid, &output); },
                ValueAndStatus),
            2, kUuid, kServer, 0),
        Operation("BleGattServerDeleteService", 0xD70071, ServerIds(),
                  [] { return BleGattServer::BleGattServerDeleteService(kServer, kHandle); }),
        Reporting(Operation("BleGattServerAddCharacteristic", 0xD70072,
                            AddCharacteristic("2a37", -6, {1, 0, 2}),
                            [] {
                                return BleGattServer::BleGattServerAddCharacteristic(
                                    kServer, kHandle, &Info("2a37", {1, 0, 2}));
                            }),
                  4, "2a37", kServer, kHandle),
        Reporting(
            Operation("BleGattServerStartService", 0xD70073, ServerIds(),
                      [] { return BleGattServer::BleGattServerStartService(kServer, kHandle); }),
            3, "NA", kServer, kHandle),
        Operation("BleGattServerStopService", 0xD70074, ServerIds(),
                  [] { return BleGattServer::BleGattServerStopService(kServer, kHandle); }),
        Operation("BleGattServerPublishNotify", 0xD70075, Publish("2a37", {1, 0, 2}),
                  [] {
                      return BleGattServer::BleGattServerPublishNotify(kServer, kHandle, "2a37",
                                                                       {1, 0, 2}, kPeer);
                  }),
    };
}

INSTANTIATE_TEST_SUITE_P(Server, GattOperationTest, ::testing::ValuesIn(Operations()), NameOf);
INSTANTIATE_TEST_SUITE_P(Server, StoppedGattOperationTest, ::testing::ValuesIn(Operations()),
                         NameOf);

class BleGattServerTest : public SdkTest {
  protected:
    void ExpectRefused(const std::string& member, const std::string& line)
    {
        const std::string function = "BleGattServer::" + member;
        EXPECT_THAT(channel.Requests(), IsEmpty()) << member;
        EXPECT_THAT(LogLines::All(), ElementsAre(Start(function), Line(4, line, function)));
        ForgetWhatHappened();
    }
};

TEST_F(BleGattServerTest, RegisterWritesTheIdOnSuccessOnly)
{
    auto& table = Lasting<BtGattServerCallbacksC>();
    std::int32_t serverId = -5;
    channel.Reply(0xD7006E, Bytes().I32(12).I32(4));
    EXPECT_EQ(BleGattServer::BleGattServerRegister(&table, &serverId), 4);
    EXPECT_EQ(serverId, -5);

    const std::int32_t id = FreshId();
    channel.Reply(0xD7006E, Bytes().I32(id).I32(0));
    ForgetWhatHappened();
    EXPECT_EQ(BleGattServer::BleGattServerRegister(&table, &serverId), 0);
    EXPECT_EQ(serverId, id);
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Start("BleGattServer::BleGattServerRegister"),
                            Line(1, "add callback", "IPCMessageSender::AddGattServer"),
                            End("BleGattServer::BleGattServerRegister")));
}

TEST_F(BleGattServerTest, RegisterRefusesNulls)
{
    auto& table = Lasting<BtGattServerCallbacksC>();
    std::int32_t serverId = -5;
    EXPECT_EQ(BleGattServer::BleGattServerRegister(nullptr, &serverId), -1);
    ExpectRefused("BleGattServerRegister", "null");
    EXPECT_EQ(BleGattServer::BleGattServerRegister(&table, nullptr), -1);
    ExpectRefused("BleGattServerRegister", "null");
    EXPECT_EQ(serverId, -5);
}

TEST_F(BleGattServerTest, AddServiceWritesTheHandleOnSuccessOnly)
{
    std::int32_t handle = -5;
    channel.Reply(0xD70070, Bytes().I32(12).I32(4));
    EXPECT_EQ(BleGattServer::BleGattServerAddService(kServer, kUuid, &handle), 4);
    EXPECT_EQ(handle, -5);
    channel.Reply(0xD70070, Bytes().I32(12).I32(0));
    EXPECT_EQ(BleGattServer::BleGattServerAddService(kServer, kUuid, &handle), 0);
    EXPECT_EQ(handle, 12);
}

TEST_F(BleGattServerTest, AddServiceChecksTheHandleThenTheText)
{
    std::int32_t handle = -5;
    EXPECT_EQ(BleGattServer::BleGattServerAddService(kServer, kTooLong, nullptr), -1);
    ExpectRefused("BleGattServerAddService", "null");
    EXPECT_EQ(BleGattServer::BleGattServerAddService(kServer, kTooLong, &handle), -10);
    ExpectRefused("BleGattServerAddService", "memcpy failed");
    EXPECT_EQ(handle, -5);
}

TEST_F(BleGattServerTest, AddCharacteristicRefusesWhatDoesNotFit)
{
    EXPECT_EQ(BleGattServer::BleGattServerAddCharacteristic(kServer, kHandle, nullptr), -1);
    ExpectRefused("BleGattServerAddCharacteristic", "null");
    EXPECT_EQ(BleGattServer::BleGattServerAddCharacteristic(kServer, kHandle,
                                                            &Info("2a37", Counting(1025))),
              -10);
    ExpectRefused("BleGattServerAddCharacteristic", "memcpy failed");
    EXPECT_EQ(BleGattServer::BleGattServerAddCharacteristic(kServer, kHandle, &Info(kTooLong, {})),
              -10);
    ExpectRefused("BleGattServerAddCharacteristic", "memcpy failed");
}

TEST_F(BleGattServerTest, PublishNotifyRefusesWhatDoesNotFit)
{
    EXPECT_EQ(
        BleGattServer::BleGattServerPublishNotify(kServer, kHandle, "2a37", Counting(1025), kPeer),
        -10);
    ExpectRefused("BleGattServerPublishNotify", "memcpy failed");
    EXPECT_EQ(BleGattServer::BleGattServerPublishNotify(kServer, kHandle, kTooLong, {1}, kPeer),
              -10);
    ExpectRefused("BleGattServerPublishNotify", "memcpy failed");
}

TEST_F(BleGattServerTest, ValuesOfEveryLengthAndAUuidThatJustFits)
{
    channel.Reply(0xD70072, Bytes().I32(1));
    channel.Reply(0xD70075, Bytes().I32(0));
    for (const std::size_t length : {0U, 1U, 1023U, 1024U}) {
        const ByteVector value = Counting(length);
        EXPECT_EQ(
            BleGattServer::BleGattServerAddCharacteristic(kServer, kHandle, &Info(kUuid, value)),
            1);
        EXPECT_EQ(BleGattServer::BleGattServerPublishNotify(kServer, kHandle, kUuid, value, kPeer),
                  0);
        EXPECT_THAT(channel.Requests(),
                    ElementsAre(RequestIs(0xD70072, AddCharacteristic(kUuid, -6, value), 10000),
                                RequestIs(0xD70075, Publish(kUuid, value), 10000)));
        ForgetWhatHappened();
    }
}

TEST_F(BleGattServerTest, DoesNotWaitForTheClientsOperations)
{
    std::future<BleStatusC> serving;
    channel.Reply(0xD70073, Bytes().I32(0));
    channel.OnRequest(0xD7004A, [&](const Sent&) {
        serving = std::async(std::launch::async, [] {
            return BleGattServer::BleGattServerStartService(kServer, kHandle);
        });
        EXPECT_EQ(serving.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    });
    EXPECT_EQ(BleGattClient::BleGattClientSearchServices(1), -9);
    EXPECT_EQ(serving.get(), 0);
}

}  // namespace

}  // namespace pelacon::test
