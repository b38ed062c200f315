#include <protocol/BleManager.h>
#include <protocol/ServiceLink.h>
#include <protocol/ServiceStatus.h>
#include <protocol/TargetAdv.h>
#include <tests/service/ServiceFixture.h>

#include <gmock/gmock.h>

#include <cstring>

namespace pelacon::service::tests {
namespace {

using protocol::kStatusDone;
using protocol::kStatusUnknownId;
using protocol::TargetAdvRecord;

class TargetAdvFamilyTest : public ServiceTest {
  protected:
    TargetAdvFamilyTest() { StartService(); }

    static std::int32_t Register(TestClient& client)
    {
        return client.Call(protocol::kRegisterTargetAdv)->status;
    }
    static std::int32_t Unregister(TestClient& client)
    {
        return client.Call(protocol::kUnregisterTargetAdv, {1})->status;
    }
    static TargetAdvRecord Record(std::int32_t business, std::uint8_t fill)
    {
        TargetAdvRecord record{};
        record.business = static_cast<BleTargetBusiness>(business);
        std::memset(record.data, fill, sizeof record.data);
        return record;
    }
    static Bytes BytesOf(const TargetAdvRecord& record)
    {
        const ByteView bytes = AsBytes(record);
        return {bytes.begin(), bytes.end()};
    }
};

TEST_F(TargetAdvFamilyTest, AllListenersReceiveAPush)
{
    TestClient one(PipeName());
    TestClient other(PipeName());
    TestClient deaf(PipeName());
    EXPECT_EQ(Register(one), kStatusDone);
    EXPECT_EQ(Register(other), kStatusDone);
    const TargetAdvRecord record = Record(-7, 0xA5);
    EXPECT_EQ(deaf.Call(protocol::kPushTargetAdv, record)->status, kStatusDone);
    EXPECT_EQ(one.NextRaw(0xD8007E), BytesOf(record));
    EXPECT_EQ(other.NextRaw(0xD8007E), BytesOf(record));
    EXPECT_EQ(one.Call(protocol::kPushTargetAdv, Record(8, 1))->status, kStatusDone);
    EXPECT_EQ(one.Next(protocol::kTargetAdvReceived).business, 8) << "the sender receives it, too";
    EXPECT_EQ(deaf.Waiting(0xD8007E), 0U);
}

TEST_F(TargetAdvFamilyTest, EachRegistrationEndsSeparately)
{
    TestClient client(PipeName());
    EXPECT_EQ(Unregister(client), kStatusUnknownId);
    Register(client);
    Register(client);
    EXPECT_EQ(Unregister(client), kStatusDone);
    client.Call(protocol::kPushTargetAdv, Record(1, 1));
    EXPECT_EQ(client.Next(protocol::kTargetAdvReceived).business, 1);
    EXPECT_EQ(Unregister(client), kStatusDone);
    client.Call(protocol::kPushTargetAdv, Record(2, 1));
    EXPECT_EQ(Unregister(client), kStatusUnknownId);
    Register(client);
    client.Call(protocol::kPushTargetAdv, Record(3, 1));
    EXPECT_EQ(client.Next(protocol::kTargetAdvReceived).business, 3)
        << "the second was not delivered";
}

TEST_F(TargetAdvFamilyTest, TheWorldSendsItsOwn)
{
    EndService();
    StartService(R"({"targetedAdvertisements": [
        {"business": 12, "data": "01 02", "everyMs": 1}], "adapter": {"turnOffMs": 1}})");
    TestClient client(PipeName());
    Register(client);
    TargetAdvRecord expected{};
    expected.business = static_cast<BleTargetBusiness>(12);
    expected.data[0] = 1;
    expected.data[1] = 2;
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(client.NextRaw(0xD8007E), BytesOf(expected));
    }
}

TEST_F(TargetAdvFamilyTest, ListenersEndWithTheirClient)
{
    const auto listeners = [&] {
        return Command({{"command", "status"}})["targetedAdvertisements"]["listeners"];
    };
    {
        TestClient client(PipeName());
        Register(client);
        EXPECT_EQ(listeners(), 1);
    }
    EXPECT_TRUE(Eventually([&] { return listeners() == 0; }));
}

TEST_F(TargetAdvFamilyTest, AReturningClientKeepsItsListeners)
{
    TestClient client(PipeName());
    Register(client);
    Register(client);
    Command({{"command", "restart"}});
    client.Next(protocol::kServiceStarted);
    EXPECT_EQ(Unregister(client), kStatusDone) << "one of two";
    client.Call(protocol::kPushTargetAdv, Record(5, 1));
    EXPECT_EQ(client.Next(protocol::kTargetAdvReceived).business, 5);
}

}  // namespace
}  // namespace pelacon::service::tests
