#include <PelaconSDK/BleGattClient.h>
#include <tests/sdk/GattIds.h>
#include <tests/sdk/api/GattOperation.h>
#include <tests/support/SdkTest.h>

#include <string>
#include <vector>

namespace pelacon::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A read's answer with this value and status.
Bytes ReadReply(const ByteVector& value, std::uint32_t dataLen, std::int32_t status)
{
    return ClientIds().Raw(value, 1024).Zeros(2).U32(dataLen).I32(status);
}

ByteVector Status(std::int32_t status)
{
    return Bytes().I32(status);
}
ByteVector ValueAndStatus(std::int32_t status)
{
    return Bytes().I32(77).I32(status);
}

std::vector<LogLine> EventLines(int type, std::int32_t client, const std::string& uuid)
{
    constexpr auto kFunction = "ReportClientError";
    return {Line(2, "[VoView]==== 954082009 ====", kFunction),
            Line(2, "[VoView]EventType:" + std::to_string(type) + ",ErrorCode:10", kFunction),
            Line(3, "[VoView]BusinessId " + std::to_string(client), kFunction),
            Line(3, "[VoView]CharUuid " + uuid, kFunction)};
}

GattOperation Reporting(GattOperation operation, int type, std::int32_t client,
                        const std::string& uuid)
{
    operation.event = Event{954082009,
                            {Int("EventType", type), Int("ErrorCode", 10),
                             Int("BusinessId", client), Str("CharUuid", uuid)}};
    operation.eventLines = EventLines(type, client, uuid);
    return operation;
}

std::vector<GattOperation> Operations()
{
    static std::int32_t output;
    static std::vector<std::uint8_t> value;
    const ByteVector client = Bytes().I32(kClient);
    return {
        Reporting({.name = "BleGattClientRegister",
                   .id = 0xD70046,
                   .call = [] { return BleGattClient::BleGattClientRegister(&output); },
                   .reply = ValueAndStatus},
                  1, 0, "NA"),
        {.name = "BleGattClientUnRegister",
         .id = 0xD70047,
         .payload = client,
         .call = [] { return BleGattClient::BleGattClientUnRegister(kClient); },
         .reply = Status},
        {.name = "BleGattClientDisconnect",
         .id = 0xD70049,
         .payload = client,
         .call = [] { return BleGattClient::BleGattClientDisconnect(kClient); },
         .reply = Status},
        {.name = "BleGattClientSearchServices",
         .id = 0xD7004A,
         .payload = client,
         .call = [] { return BleGattClient::BleGattClientSearchServices(kClient); },
         .reply = Status},
        {.name = "BleGattClientGetService",
         .id = 0xD7004C,
         .payload = Bytes().I32(kClient).Text(kService, 37).Zeros(3),
         .call = [] { return BleGattClient::BleGattClientGetService(kClient, kService); },
         .reply = Status},
        Reporting({.name = "BleGattClientReadCharacteristic",
                   .id = 0xD7004E,
                   .payload = ClientIds().Zeros(2),
                   .call =
                       [] {
                           return BleGattClient::BleGattClientReadCharacteristic(kClient, kService,
                                                                                 kChar, &value);
                       },
                   .reply = [](std::int32_t status) -> ByteVector {
                       return ReadReply(Counting(3), 3, status);
                   },
                   .linesAfterReply = {{2, "dataLen:3"}}},
                  5, kClient, kChar),
        Reporting({.name = "BleGattClientWriteCharacteristic",
                   .id = 0xD70050,
                   .payload = ClientIds().Raw({9, 0, 8}, 1024).Zeros(2).U32(3),
                   .call =
                       [] {
                           return BleGattClient::BleGattClientWriteCharacteristic(kClient, kService,
                                                                                  kChar, {9, 0, 8});
                       },
                   .reply = Status,
                   .linesBeforeRequest = {{1, "value:3"}}},
                  4, kClient, kChar),
        Reporting({.name = "BleGattClientRegisterNotification",
                   .id = 0xD70052,
                   .payload = ClientIds().U8(1).Zeros(1),
                   .call =
                       [] {
                           return BleGattClient::BleGattClientRegisterNotification(
                               kClient, kService, kChar, true);
                       },
                   .reply = Status},
                  3, kClient, kChar),
        {.name = "BleGattClientGetMtu",
         .id = 0xD70053,
         .payload = client,
         .call = [] { return BleGattClient::BleGattClientGetMtu(kClient, &output); },
         .reply = ValueAndStatus},
    };
}

INSTANTIATE_TEST_SUITE_P(Client, GattOperationTest, ::testing::ValuesIn(Operations()), NameOf);
INSTANTIATE_TEST_SUITE_P(Client, StoppedGattOperationTest, ::testing::ValuesIn(Operations()),
                         NameOf);

class BleGattClientTest : public SdkTest {
  protected:
    /// Expects that nothing was sent, and that exactly `lines` were logged after "start".
    void ExpectRefused(const std::string& member, const std::vector<LogLine>& lines)
    {
        EXPECT_THAT(channel.Requests(), IsEmpty()) << member;
        std::vector<LogLine> all{Start("BleGattClient::" + member)};
        for (const LogLine& line : lines) {
            all.push_back(Line(line.level, line.text, "BleGattClient::" + member));
        }
        EXPECT_EQ(LogLines::All(), all) << member;
        ForgetWhatHappened();
    }
};

TEST_F(BleGattClientTest, RegisterWritesTheIdOnSuccessOnly)
{
    std::int32_t clientId = -5;
    channel.Reply(0xD70046, Bytes().I32(12).I32(4));
    EXPECT_EQ(BleGattClient::BleGattClientRegister(&clientId), 4);
    EXPECT_EQ(clientId, -5);

    channel.Reply(0xD70046, Bytes().I32(12).I32(0));
    EXPECT_EQ(BleGattClient::BleGattClientRegister(&clientId), 0);
    EXPECT_EQ(clientId, 12);
}

TEST_F(BleGattClientTest, RegisterRefusesNull)
{
    EXPECT_EQ(BleGattClient::BleGattClientRegister(nullptr), -1);
    ExpectRefused("BleGattClientRegister", {{3, "clientId is nullptr, return"}});
}

TEST_F(BleGattClientTest, GetMtuWritesTheMtuOnSuccessOnly)
{
    std::int32_t mtu = -5;
    channel.Reply(0xD70053, Bytes().I32(247).I32(6));
    EXPECT_EQ(BleGattClient::BleGattClientGetMtu(kClient, &mtu), 6);
    EXPECT_EQ(mtu, -5);

    channel.Reply(0xD70053, Bytes().I32(247).I32(0));
    EXPECT_EQ(BleGattClient::BleGattClientGetMtu(kClient, &mtu), 0);
    EXPECT_EQ(mtu, 247);
}

TEST_F(BleGattClientTest, GetMtuRefusesNull)
{
    EXPECT_EQ(BleGattClient::BleGattClientGetMtu(kClient, nullptr), -1);
    ExpectRefused("BleGattClientGetMtu", {{4, "null"}});
}

TEST_F(BleGattClientTest, ConnectPostsAndDoesNotWait)
{
    EXPECT_EQ(BleGattClient::BleGattClientConnect(kClient, 0x665544332211, nullptr), 0);
    EXPECT_THAT(channel.Posts(),
                ElementsAre(PostIs(0xD70048, Bytes().I32(kClient).Zeros(4).U64(0x665544332211))));
    EXPECT_THAT(channel.Requests(), IsEmpty());
    EXPECT_THAT(LogLines::All(), ElementsAre(Start("BleGattClient::BleGattClientConnect"),
                                             End("BleGattClient::BleGattClientConnect")));
}

TEST_F(BleGattClientTest, ConnectRegistersBeforeItPosts)
{
    auto& table = Lasting<BtGattClientCallbacksC>();
    EXPECT_EQ(BleGattClient::BleGattClientConnect(FreshId(), 1, &table), 0);
    EXPECT_THAT(Journal::Entries(),
                ElementsAre("log 1 start(BleGattClient::BleGattClientConnect)",
                            "log 1 add callback(IPCMessageSender::AddBleGattClientCb)",
                            "post 0xD70048", "log 1 end(BleGattClient::BleGattClientConnect)"));
}

TEST_F(StoppedSdkTest, GattConnectIsRefusedButRegisters)
{
    auto& table = Lasting<BtGattClientCallbacksC>();
    EXPECT_EQ(BleGattClient::BleGattClientConnect(FreshId(), 1, &table), -1);
    EXPECT_THAT(channel.Posts(), IsEmpty());
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Start("BleGattClient::BleGattClientConnect"),
                            Line(1, "add callback", "IPCMessageSender::AddBleGattClientCb"),
                            Line(3, "pIpcMessageSender is nullptr, return",
                                 "IPCMessageSender::PostIPCMessageToService")));
}

TEST_F(BleGattClientTest, EveryMemberTakesUuidsOf36Characters)
{
    const std::string uuid(36, 'f');
    std::vector<std::uint8_t> value;
    channel.Reply(0xD7004C, Bytes().I32(0));
    channel.Reply(0xD7004E, ReadReply({}, 0, 0));
    channel.Reply(0xD70050, Bytes().I32(0));
    channel.Reply(0xD70052, Bytes().I32(0));
    EXPECT_EQ(BleGattClient::BleGattClientGetService(kClient, uuid), 0);
    EXPECT_EQ(BleGattClient::BleGattClientReadCharacteristic(kClient, uuid, uuid, &value), 0);
    EXPECT_EQ(BleGattClient::BleGattClientWriteCharacteristic(kClient, uuid, uuid, {}), 0);
    EXPECT_EQ(BleGattClient::BleGattClientRegisterNotification(kClient, uuid, uuid, false), 0);
    const Bytes fields = Bytes().I32(kClient).Text(uuid, 37).Text(uuid, 37);
    EXPECT_THAT(
        channel.Requests(),
        ElementsAre(RequestIs(0xD7004C, Bytes().I32(kClient).Text(uuid, 37).Zeros(3), 10000),
                    RequestIs(0xD7004E, Bytes(fields).Zeros(2), 10000),
                    RequestIs(0xD70050, Bytes(fields).Zeros(1024 + 2 + 4), 10000),
                    RequestIs(0xD70052, Bytes(fields).Zeros(2), 10000)));
}

TEST_F(BleGattClientTest, GetServiceRefusesALongerUuidWithoutALine)
{
    EXPECT_EQ(BleGattClient::BleGattClientGetService(kClient, kTooLong), -10);
    ExpectRefused("BleGattClientGetService", {});
}

TEST_F(BleGattClientTest, ReadRefusesInvalidParameters)
{
    std::vector<std::uint8_t> value{1};
    const std::vector<LogLine> lines{{4, "invalid params"}};
    EXPECT_EQ(BleGattClient::BleGattClientReadCharacteristic(kClient, kService, kChar, nullptr),
              -1);
    ExpectRefused("BleGattClientReadCharacteristic", lines);
    EXPECT_EQ(BleGattClient::BleGattClientReadCharacteristic(kClient, kTooLong, kChar, &value), -1);
    ExpectRefused("BleGattClientReadCharacteristic", lines);
    EXPECT_EQ(BleGattClient::BleGattClientReadCharacteristic(kClient, kService, kTooLong, &value),
              -1);
    ExpectRefused("BleGattClientReadCharacteristic", lines);
    EXPECT_THAT(value, ElementsAre(1));
}

TEST_F(BleGattClientTest, WriteRefusesInvalidParameters)
{
    const std::vector<LogLine> lines{{4, "invalid params"}};
    EXPECT_EQ(BleGattClient::BleGattClientWriteCharacteristic(kClient, kTooLong, kChar, {}), -1);
    ExpectRefused("BleGattClientWriteCharacteristic", lines);
    EXPECT_EQ(BleGattClient::BleGattClientWriteCharacteristic(kClient, kService, kTooLong, {}), -1);
    ExpectRefused("BleGattClientWriteCharacteristic", lines);
    EXPECT_EQ(
        BleGattClient::BleGattClientWriteCharacteristic(kClient, kService, kChar, Counting(1025)),
        -1);
    ExpectRefused("BleGattClientWriteCharacteristic", lines);
}

TEST_F(BleGattClientTest, RegisterNotificationRefusesLongerUuids)
{
    const std::vector<LogLine> lines{{4, "invalid params"}};
    EXPECT_EQ(BleGattClient::BleGattClientRegisterNotification(kClient, kTooLong, kChar, true), -1);
    ExpectRefused("BleGattClientRegisterNotification", lines);
    EXPECT_EQ(BleGattClient::BleGattClientRegisterNotification(kClient, kService, kTooLong, true),
              -1);
    ExpectRefused("BleGattClientRegisterNotification", lines);
}

TEST_F(BleGattClientTest, WritesValuesOfEveryLength)
{
    channel.Reply(0xD70050, Bytes().I32(0));
    for (const std::size_t length : {0U, 1U, 1023U, 1024U}) {
        const ByteVector value = Counting(length);
        EXPECT_EQ(BleGattClient::BleGattClientWriteCharacteristic(kClient, kService, kChar, value),
                  0);
        EXPECT_THAT(
            channel.OnlyRequest(),
            RequestIs(0xD70050,
                      ClientIds().Raw(value, 1024).Zeros(2).U32(static_cast<std::uint32_t>(length)),
                      10000));
        ForgetWhatHappened();
    }
}

TEST_F(BleGattClientTest, RegisterNotificationSendsWhetherToNotify)
{
    channel.Reply(0xD70052, Bytes().I32(0));
    BleGattClient::BleGattClientRegisterNotification(kClient, kService, kChar, false);
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(0xD70052, ClientIds().Zeros(2), 10000));
}

TEST_F(BleGattClientTest, ReadsValuesOfEveryLength)
{
    for (const std::uint32_t length : {0U, 1U, 1023U, 1024U}) {
        std::vector<std::uint8_t> value{1, 2, 3};
        channel.Reply(0xD7004E, ReadReply(Counting(1024), length, 0));
        EXPECT_EQ(BleGattClient::BleGattClientReadCharacteristic(kClient, kService, kChar, &value),
                  0);
        EXPECT_EQ(value, Counting(length));
    }
}

TEST_F(BleGattClientTest, ReadKeepsEmbeddedZeros)
{
    std::vector<std::uint8_t> value;
    channel.Reply(0xD7004E, ReadReply({0, 7, 0, 0}, 4, 0));
    EXPECT_EQ(BleGattClient::BleGattClientReadCharacteristic(kClient, kService, kChar, &value), 0);
    EXPECT_THAT(value, ElementsAre(0, 7, 0, 0));
}

TEST_F(BleGattClientTest, ReadFillsTheValueWhateverTheStatus)
{
    std::vector<std::uint8_t> value;
    channel.Reply(0xD7004E, ReadReply({5, 6}, 2, 8));
    EXPECT_EQ(BleGattClient::BleGattClientReadCharacteristic(kClient, kService, kChar, &value), 8);
    EXPECT_THAT(value, ElementsAre(5, 6));
}

TEST_F(BleGattClientTest, ReadLeavesTheValueWhenItsLengthIsTooLarge)
{
    constexpr auto kFunction = "BleGattClient::BleGattClientReadCharacteristic";
    for (const std::uint32_t length : {1025U, 0xFFFFFFFFU}) {
        std::vector<std::uint8_t> value{42};
        channel.Reply(0xD7004E, ReadReply(Counting(1024), length, 3));
        ForgetWhatHappened();
        EXPECT_EQ(BleGattClient::BleGattClientReadCharacteristic(kClient, kService, kChar, &value),
                  3);
        EXPECT_THAT(value, ElementsAre(42));
        const std::string number = std::to_string(length);
        EXPECT_THAT(LogLines::All(),
                    ElementsAre(Start(kFunction), Line(2, "dataLen:" + number, kFunction),
                                Line(4, "dataLen too large:" + number, kFunction), End(kFunction)));
    }
}

TEST_F(BleGattClientTest, ReadIgnoresTheIdAndTextsOfTheReply)
{
    // The reply names another client and other texts, which the library ignores.
    std::vector<std::uint8_t> value;
    channel.Reply(0xD7004E, Bytes().Fill(78, 0xFF).Raw({1}, 1024).Fill(2, 0xFF).U32(1).I32(0));
    EXPECT_EQ(BleGattClient::BleGattClientReadCharacteristic(kClient, kService, kChar, &value), 0);
    EXPECT_THAT(value, ElementsAre(1));
}

/// After the checks no copy into a request can fail, so the stand-in makes one fail: nothing is
/// sent.
TEST_F(BleGattClientTest, AFailedCopySendsNothing)
{
    const std::vector<LogLine> lines{{4, "memcpy failed!"}};
    std::vector<std::uint8_t> value;
    for (const int good : {0, 1}) {
        Copies::FailAfter(good);
        EXPECT_EQ(BleGattClient::BleGattClientReadCharacteristic(kClient, kService, kChar, &value),
                  -10);
        ExpectRefused("BleGattClientReadCharacteristic", lines);
        Copies::FailAfter(good);
        EXPECT_EQ(BleGattClient::BleGattClientRegisterNotification(kClient, kService, kChar, true),
                  -10);
        ExpectRefused("BleGattClientRegisterNotification", lines);
        Copies::FailAfter(good);
        EXPECT_EQ(BleGattClient::BleGattClientWriteCharacteristic(kClient, kService, kChar, {1}),
                  -10);
        ExpectRefused("BleGattClientWriteCharacteristic", lines);
    }
}

TEST_F(BleGattClientTest, ConnectWaitsForTheOperationBefore)
{
    ExpectWaits(
        channel, "BleGattClient",
        [] { EXPECT_EQ(BleGattClient::BleGattClientConnect(kClient, 1, nullptr), 0); },
        "post 0xD70048");
}

}  // namespace

}  // namespace pelacon::test
