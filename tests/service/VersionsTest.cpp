// A service that is older than the library of its clients.
#include <protocol/BleManager.h>
#include <protocol/BleScanner.h>
#include <service/Version.h>
#include <tests/service/ServiceFixture.h>

namespace pelacon::service::tests {

namespace {

class VersionsTest : public ServiceTest {
  protected:
    VersionsTest() { StartService(); }

    TestClient client{PipeName()};
};

TEST_F(VersionsTest, AnUnknownRequestIsAnsweredWithoutPayloadAndHarmsNothing)
{
    EXPECT_FALSE(client.CallRaw(0xD7EEEE, Bytes(40)));
    EXPECT_EQ(client.Call(protocol::kIsBtEnabled)->value, 1);
    EXPECT_EQ(Command({{"command", "status"}})["counters"]["unknownRequests"], 1);
}

TEST_F(VersionsTest, OfALongerRecordTheKnownFieldsAreRead)
{
    protocol::StartScanRequest request{};
    request.listenerId = 4711;
    const ByteView known = AsBytes(request);
    Bytes longer(known.begin(), known.end());
    longer.resize(longer.size() + 16, 0xFF);
    const auto answer = client.CallRaw(protocol::kStartBleScan.id, known);
    ASSERT_TRUE(answer);
    EXPECT_EQ(client.CallRaw(protocol::kStartBleScan.id, longer), answer);
}

TEST_F(VersionsTest, ItsVersionIsTheAnswerToPing)
{
    EXPECT_EQ(Command({{"command", "ping"}})["version"], kVersion);
}

}  // namespace

}  // namespace pelacon::service::tests
