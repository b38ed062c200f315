#include <PelaconSDK/BleGattClient.h>
#include <sdk/ipc/GattClientCallbacks.h>
#include <sdk/ipc/IPCMessageSender.h>
#include <tests/support/SdkTest.h>

#include <chrono>
#include <cstring>
#include <future>
#include <string>
#include <vector>

namespace pelacon::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr auto kState = "IPCMessageSender::OnConnectionStateCallback";
constexpr auto kNotification = "IPCMessageSender::OnNotificationReceiveCallback";

struct Notified {
    std::int32_t clientId;
    std::string serviceUuid;
    std::string charUuid;
    ByteVector data;
    std::int32_t value;

    bool operator==(const Notified&) const = default;
};

std::vector<std::vector<std::int32_t>> states;
std::vector<Notified> notified;
std::function<void()> inCallback;

void TakeState(std::int32_t clientId, std::int32_t value1, std::int32_t value2)
{
    Journal::Note("callback");
    states.push_back({clientId, value1, value2});
    if (inCallback) {
        inCallback();
    }
}

void TakeNotification(std::int32_t clientId, const char* serviceUuid, const char* charUuid,
                      const std::uint8_t* data, std::uint32_t dataLen, std::int32_t value)
{
    Journal::Note("callback");
    notified.push_back({clientId, serviceUuid, charUuid, {data, data + dataLen}, value});
}

BtGattClientCallbacksC& Table()
{
    return Lasting<BtGattClientCallbacksC>({TakeState, TakeNotification});
}

Bytes StateOf(std::int32_t clientId, std::int32_t value1 = 1, std::int32_t value2 = 2)
{
    return Bytes().I32(clientId).I32(value1).I32(value2);
}

Bytes ValueOf(std::int32_t clientId, const ByteVector& value, std::uint32_t dataLen)
{
    return Bytes()
        .I32(clientId)
        .Text("180d", 37)
        .Text("2a37", 37)
        .Raw(value, 1024)
        .Zeros(2)
        .U32(dataLen)
        .I32(-8);
}

class GattClientCallbacksTest : public SdkTest {
  protected:
    void SetUp() override
    {
        SdkTest::SetUp();
        states.clear();
        notified.clear();
        inCallback = {};
    }

    void TearDown() override
    {
        SdkTest::TearDown();
        inCallback = {};
    }

    /// Registers the table for this client.
    void Register(BtGattClientCallbacksC* table)
    {
        Registry<GattClientCallbacks>().AddBleGattClientCb(table, client);
        ForgetWhatHappened();
    }

    const std::int32_t client = FreshId();
};

TEST_F(GattClientCallbacksTest, BothStateNotificationsReachTheSameSlot)
{
    Register(&Table());
    channel.Deliver(0xD80048, StateOf(client, 1, 0));
    channel.Deliver(0xD80049, StateOf(client, -7, 0x13));
    EXPECT_THAT(states, ElementsAre(ElementsAre(client, 1, 0), ElementsAre(client, -7, 0x13)));
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Start(kState), Line(1, "call callback", kState), End(kState),
                            Start(kState), Line(1, "call callback", kState), End(kState)));
}

TEST_F(GattClientCallbacksTest, ANotificationReachesItsSlot)
{
    Register(&Table());
    channel.Deliver(0xD80053, ValueOf(client, {0, 72, 0}, 3));
    EXPECT_THAT(notified, ElementsAre(Notified{client, "180d", "2a37", {0, 72, 0}, -8}));
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Start(kNotification), Line(1, "call callback", kNotification),
                            End(kNotification)));
}

TEST_F(GattClientCallbacksTest, ValuesOfEveryLength)
{
    Register(&Table());
    for (const std::uint32_t length : {0U, 1U, 1023U, 1024U}) {
        notified.clear();
        channel.Deliver(0xD80053, ValueOf(client, Counting(1024), length));
        ASSERT_EQ(notified.size(), 1U);
        EXPECT_EQ(notified[0].data, Counting(length));
    }
}

TEST_F(GattClientCallbacksTest, ALengthBeyondTheFieldIsCutToIt)
{
    Register(&Table());
    for (const std::uint32_t length : {1025U, 0xFFFFFFFFU}) {
        notified.clear();
        channel.Deliver(0xD80053, ValueOf(client, Counting(1024), length));
        ASSERT_EQ(notified.size(), 1U);
        EXPECT_EQ(notified[0].data, Counting(1024));
    }
}

TEST_F(GattClientCallbacksTest, AUuidThatFillsItsFieldEndsWithIt)
{
    Register(&Table());
    const std::string service(37, 's');
    const std::string characteristic(37, 'c');
    channel.Deliver(0xD80053, Bytes()
                                  .I32(client)
                                  .Text(service)
                                  .Text(characteristic)
                                  .Fill(1024, 'v')
                                  .Zeros(2)
                                  .U32(0)
                                  .I32(0));
    EXPECT_THAT(notified, ElementsAre(Notified{client, service, characteristic, {}, 0}));
}

TEST_F(GattClientCallbacksTest, PointersLeadIntoTheRecord)
{
    static const std::uint8_t* expected;
    static bool inRecord;
    Register(&Lasting<BtGattClientCallbacksC>(
        {nullptr, [](std::int32_t, const char* serviceUuid, const char* charUuid,
                     const std::uint8_t* data, std::uint32_t, std::int32_t) {
             const auto* service = reinterpret_cast<const std::uint8_t*>(serviceUuid);
             const auto* characteristic = reinterpret_cast<const std::uint8_t*>(charUuid);
             inRecord = service == expected + 4 && characteristic == expected + 41 &&
                        data == expected + 78;
         }}));
    const ByteVector payload = ValueOf(client, {1}, 1);
    protocol::GattValueRecord record;
    std::memcpy(&record, payload.data(), sizeof record);
    expected = reinterpret_cast<const std::uint8_t*>(&record);
    inRecord = false;
    Registry<GattClientCallbacks>().OnNotificationReceiveCallback(&record);
    EXPECT_TRUE(inRecord);
}

TEST_F(GattClientCallbacksTest, NotificationsOfAnUnknownClientAreDropped)
{
    channel.Deliver(0xD80048, StateOf(client));
    channel.Deliver(0xD80053, ValueOf(client, {1}, 1));
    EXPECT_THAT(states, IsEmpty());
    EXPECT_THAT(notified, IsEmpty());
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Start(kState), Line(1, "call callback", kState), End(kState),
                            Start(kNotification), Line(1, "call callback", kNotification),
                            End(kNotification)));
}

TEST_F(GattClientCallbacksTest, EmptySlotsAreSkipped)
{
    Register(&Lasting<BtGattClientCallbacksC>());
    channel.Deliver(0xD80048, StateOf(client));
    channel.Deliver(0xD80053, ValueOf(client, {1}, 1));
    EXPECT_THAT(LogLines::All().back(), End(kNotification));
}

TEST_F(GattClientCallbacksTest, ANotificationWithoutPayloadIsDropped)
{
    Register(&Table());
    for (const std::int32_t id : {0xD80048, 0xD80049, 0xD80053}) {
        channel.DeliverWithoutPayload(id);
    }
    Registry<GattClientCallbacks>().OnConnectionStateCallback(nullptr);
    Registry<GattClientCallbacks>().OnNotificationReceiveCallback(nullptr);
    EXPECT_THAT(states, IsEmpty());
    EXPECT_THAT(notified, IsEmpty());
    EXPECT_THAT(LogLines::All(), IsEmpty());
}

TEST_F(GattClientCallbacksTest, TheFirstTableIsKept)
{
    auto& second = Lasting<BtGattClientCallbacksC>(
        {[](std::int32_t, std::int32_t, std::int32_t) { FAIL() << "the second table"; }, nullptr});
    EXPECT_EQ(BleGattClient::BleGattClientConnect(client, 1, &Table()), 0);
    ForgetWhatHappened();
    EXPECT_EQ(BleGattClient::BleGattClientConnect(client, 1, &second), 0);
    EXPECT_EQ(BleGattClient::BleGattClientConnect(client, 1, nullptr), 0);
    EXPECT_EQ(channel.Posts().size(), 2U);
    EXPECT_THAT(LogLines::All(), ::testing::Not(::testing::Contains(Line(
                                     1, "add callback", "IPCMessageSender::AddBleGattClientCb"))));
    channel.Deliver(0xD80048, StateOf(client));
    EXPECT_EQ(states.size(), 1U);
}

TEST_F(GattClientCallbacksTest, NeitherUnregisteringNorDisconnectingForgetsTheTable)
{
    EXPECT_EQ(BleGattClient::BleGattClientConnect(client, 1, &Table()), 0);
    channel.Reply(0xD70047, Bytes().I32(0));
    channel.Reply(0xD70049, Bytes().I32(0));
    EXPECT_EQ(BleGattClient::BleGattClientDisconnect(client), 0);
    EXPECT_EQ(BleGattClient::BleGattClientUnRegister(client), 0);
    channel.Deliver(0xD80048, StateOf(client));
    EXPECT_EQ(states.size(), 1U);
}

TEST_F(GattClientCallbacksTest, ATableThatIsNullLeavesTheIdFree)
{
    EXPECT_EQ(BleGattClient::BleGattClientConnect(client, 1, nullptr), 0);
    EXPECT_EQ(BleGattClient::BleGattClientConnect(client, 1, &Table()), 0);
    channel.Deliver(0xD80048, StateOf(client));
    EXPECT_EQ(states.size(), 1U);
}

TEST_F(GattClientCallbacksTest, AClientReceivesItsOwnNotificationsOnly)
{
    const std::int32_t other = FreshId();
    Register(&Table());
    Registry<GattClientCallbacks>().AddBleGattClientCb(&Table(), other);
    channel.Deliver(0xD80048, StateOf(other));
    EXPECT_THAT(states, ElementsAre(ElementsAre(other, 1, 2)));
}

TEST_F(GattClientCallbacksTest, ACallbackMayCallOperations)
{
    Register(&Table());
    channel.Reply(0xD7004A, Bytes().I32(0));
    std::vector<int> results;
    inCallback = [&] {
        results.push_back(BleGattClient::BleGattClientSearchServices(client));
        results.push_back(BleGattClient::BleGattClientConnect(FreshId(), 1, &Table()));
        results.push_back(BleGattClient::BleGattClientConnect(client, 1, &Table()));
    };
    channel.Deliver(0xD80048, StateOf(client));
    EXPECT_THAT(results, ElementsAre(0, 0, 0));
}

/// The callback holds the registry's lock and takes the operations' lock; the other thread's
/// connect holds the operations' lock and takes the registry's.
TEST_F(GattClientCallbacksTest, ACallbackMayCallOperationsWhileAnotherThreadConnects)
{
    Register(&Table());
    channel.Reply(0xD7004A, Bytes().I32(0));
    for (int round = 0; round < 200; ++round) {
        std::promise<void> inside;
        inCallback = [&] {
            inside.set_value();
            EXPECT_EQ(BleGattClient::BleGattClientSearchServices(client), 0);
        };
        auto connecting = std::async(std::launch::async, [&] {
            inside.get_future().wait();
            return BleGattClient::BleGattClientConnect(FreshId(), 1, &Table());
        });
        channel.Deliver(0xD80048, StateOf(client));
        ASSERT_EQ(connecting.wait_for(std::chrono::seconds(10)), std::future_status::ready);
        EXPECT_EQ(connecting.get(), 0);
    }
}

TEST_F(GattClientCallbacksTest, ConnectWaitsForARunningCallback)
{
    Register(&Table());
    std::promise<void> inside;
    std::promise<void> leave;
    inCallback = [&] {
        inside.set_value();
        leave.get_future().wait();
        Journal::Note("callback ends");
    };
    auto delivering =
        std::async(std::launch::async, [&] { channel.Deliver(0xD80048, StateOf(client)); });
    inside.get_future().wait();
    auto connecting = std::async(std::launch::async, [&] {
        return BleGattClient::BleGattClientConnect(FreshId(), 1, &Table());
    });
    EXPECT_EQ(connecting.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
    leave.set_value();
    EXPECT_EQ(connecting.get(), 0);
    delivering.wait();
    std::vector<std::string> entries = Journal::Entries();
    std::erase_if(entries, [](const std::string& entry) { return entry.starts_with("log"); });
    EXPECT_THAT(entries, ElementsAre("callback", "callback ends", "post 0xD70048"));
}

}  // namespace

}  // namespace pelacon::test
