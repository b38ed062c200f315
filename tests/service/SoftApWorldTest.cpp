// The soft AP and the phone in a world file.
#include <service/simulation/WorldFile.h>
#include <tests/service/WorldText.h>

#include <gmock/gmock.h>

#include <string>

namespace pelacon::service::tests {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

TEST(SoftApWorldTest, TheDefaultsOfASoftApDifferFromAGroups)
{
    const simulation::WorldFile world = Read("{}");
    EXPECT_EQ(world.softAp.ssid, "Pelacon-AP");
    EXPECT_NE(world.softAp.ssid, world.group.ssid);
    EXPECT_NE(world.softAp.address, world.group.address);
    EXPECT_NE(world.softAp.ipAddress, world.group.ipAddress);
    EXPECT_EQ(world.phone.model, "");
    EXPECT_EQ(world.phone.connectionChannel, 0);
    EXPECT_THAT(world.phone.channels, IsEmpty());
}

TEST(SoftApWorldTest, ReadsTheSoftAp)
{
    const simulation::GroupConfig softAp = Read(R"({"softAp": {
        "ssid": "Desk", "creation": {"fails": true},
        "stations": [{"address": "0A:00:00:00:00:01", "joinMs": 3}]}})")
                                               .softAp;
    EXPECT_EQ(softAp.ssid, "Desk");
    EXPECT_EQ(softAp.ipAddress, "192.168.173.1") << "missing fields have their defaults";
    EXPECT_EQ(softAp.creation.outcome, radio::GroupOutcome::kFailed);
    ASSERT_EQ(softAp.stations.size(), 1U);
    EXPECT_EQ(softAp.stations[0].joinAfter, 3ms);
}

TEST(SoftApWorldTest, ReadsThePhone)
{
    const simulation::PhoneConfig phone = Read(R"({"phone": {
        "model": "Phone 9", "channels": [6, 36], "connectionChannel": 36,
        "moves": [{"afterMs": 5, "channel": 6}, {"afterMs": 7, "channel": 0}]}})")
                                              .phone;
    EXPECT_EQ(phone.model, "Phone 9");
    EXPECT_THAT(phone.channels, ElementsAre(6, 36));
    EXPECT_EQ(phone.connectionChannel, 36);
    ASSERT_EQ(phone.moves.size(), 2U);
    EXPECT_EQ(phone.moves[0].after, 5ms);
    EXPECT_EQ(phone.moves[0].channel, 6);
    EXPECT_EQ(phone.moves[1].channel, 0);
}

TEST(SoftApWorldTest, ReportsMistakes)
{
    const struct {
        const char* world;
        const char* complaint;
    } rows[] = {
        {R"({"softAp": {"passPhrase": "1234567"}})",
         "softAp.passPhrase: must be text of 8 to 63 bytes"},
        {R"({"softAp": {"sid": "x"}})", "softAp.sid: unknown field"},
        {R"({"phone": {"channels": [6, 0]}})",
         "phone.channels[1]: must be a whole number between 1 and 177"},
        {R"({"phone": {"connectionChannel": 15}})",
         "phone.connectionChannel: is no channel of the 2.4 GHz or the 5 GHz band"},
        {R"({"phone": {"connectionChannel": -1}})",
         "phone.connectionChannel: must be a whole number between 0 and 177"},
        {R"({"phone": {"moves": [{"channel": 6}]}})",
         "phone.moves[0]: the field \"afterMs\" is missing"},
        {R"({"phone": {"moves": [{"afterMs": 1}]}})",
         "phone.moves[0]: the field \"channel\" is missing"},
    };
    for (const auto& row : rows) {
        EXPECT_THAT(Complaint(row.world), HasSubstr(row.complaint)) << row.world;
    }
}

}  // namespace
}  // namespace pelacon::service::tests
