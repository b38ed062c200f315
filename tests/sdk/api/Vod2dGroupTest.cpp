#include "Vod2dMembers.h"

#include <PelaconSDK/Vod2dApi.h>
#include <tests/support/SdkTest.h>

#include <cstring>
#include <string>
#include <vector>

namespace pelacon::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::int32_t kChannelList = 0xD70029;
constexpr std::int32_t kBaseMac = 0xD7002B;
constexpr std::int32_t kGroupConfig = 0xD7002D;
constexpr std::int32_t kGroupConnected = 0xD70031;

/// A group whose fields are all filled.
ByteVector GroupReply(std::int32_t status)
{
    return Bytes()
        .Text("forest network", 32)
        .Text("oak and ash", 256)
        .U8(1)
        .U8(2)
        .U8(3)
        .U8(4)
        .U8(5)
        .U8(6)
        .Zeros(2)
        .I32(149)
        .U8(7)
        .Text("192.168.137.100", 16)
        .U8(9)
        .Zeros(2)
        .I32(status);
}

ByteVector ChannelReply(const std::vector<std::int32_t>& channels, std::uint32_t byteCount,
                        std::int32_t status)
{
    Bytes reply;
    for (const std::int32_t number : channels) {
        reply.I32(number);
    }
    return reply.PadTo(1020).U32(byteCount).I32(status);
}

ByteVector CreateRequest(std::int32_t number)
{
    return Bytes().Zeros(296).I32(number).Zeros(28);
}

Event ApplicationInterface(std::int32_t errorCode)
{
    return {954079014,
            {Int("ErrorCode", errorCode), Str("Tavimo", "0.0.0.0"), Str("WifiDriver", "0.0.0.0"),
             Str("DriverApiLibVersion", "0.0.0.0")}};
}

Vod2dSoftAPInfo& AnyInfo()
{
    static Vod2dSoftAPInfo info;
    info = {};
    info.channel = 40;
    return info;
}

Vod2dWifiBroadcastRecvCb& UnusedTable()
{
    static Vod2dWifiBroadcastRecvCb table{};
    return table;
}

// ---- What all members share, by rows.

std::vector<Vod2dMember> Members()
{
    static std::int32_t channels[4];
    static char mac[6];
    static bool active = false;
    static Vod2dLinkGroup group;
    return {
        {"Vod2dGetChannelListFor5G",
         [] { return Vod2dApi::Vod2dGetChannelListFor5G(channels, 4); },
         kChannelList,
         {},
         ChannelReply({}, 0, 42)},
        {"Vod2dGetFrequency",
         [] { return Vod2dApi::Vod2dGetFrequency(); },
         kFrequency,
         {},
         Bytes().I32(42)},
        {"Vod2dGetBaseMacAddress",
         [] { return Vod2dApi::Vod2dGetBaseMacAddress(mac, 6); },
         kBaseMac,
         {},
         Bytes().Zeros(8).I32(42)},
        {"Vod2dGetGroupConfig",
         [] { return Vod2dApi::Vod2dGetGroupConfig(&AnyInfo()); },
         kGroupConfig,
         {},
         GroupReply(42)},
        {"Vod2dCreateGroup", [] { return Vod2dApi::Vod2dCreateGroup(&AnyInfo()); }, kCreateGroup,
         CreateRequest(40), GroupReply(42), 20000},
        {"Vod2dRemoveGroup",
         [] { return Vod2dApi::Vod2dRemoveGroup(); },
         kRemoveGroup,
         {},
         Bytes().I32(42),
         20000},
        {"Vod2dIsWifiActive",
         [] { return Vod2dApi::Vod2dIsWifiActive(&active); },
         kWifiActive,
         {},
         Bytes().Zeros(4).I32(42)},
        {"Vod2dGetGroupInfoConnected",
         [] { return Vod2dApi::Vod2dGetGroupInfoConnected(&group); },
         kGroupConnected,
         {},
         Bytes().Zeros(8).I32(42)},
        {"Vod2dRegisterSoftAPStateChangedCallback",
         [] { return Vod2dApi::Vod2dRegisterSoftAPStateChangedCallback(&UnusedTable()); },
         kRegister,
         {},
         Bytes().I32(42)},
        {"Vod2dUnRegisterSoftAPStateChangedCallback",
         [] { return Vod2dApi::Vod2dUnRegisterSoftAPStateChangedCallback(&UnusedTable()); },
         kUnregister,
         {},
         Bytes().I32(42)},
    };
}

INSTANTIATE_TEST_SUITE_P(Group, Vod2dMembers, ::testing::ValuesIn(Members()),
                         [](const auto& row) { return row.param.name; });
INSTANTIATE_TEST_SUITE_P(Group, Vod2dMembersStopped, ::testing::ValuesIn(Members()),
                         [](const auto& row) { return row.param.name; });

TEST_F(SdkTest, Vod2dStatusesPassThrough)
{
    for (const std::int32_t status : {0, 1, -1, -12, -16, 2147483647, -2147483647 - 1}) {
        channel.Reply(kRemoveGroup, Bytes().I32(status));
        EXPECT_EQ(Vod2dApi::Vod2dRemoveGroup(), status);
        channel.Reply(kFrequency, Bytes().I32(status));
        EXPECT_EQ(Vod2dApi::Vod2dGetFrequency(), status);
    }
}

// ---- Arguments that are refused

TEST_F(Vod2dArguments, InvalidOnesOfTheGroupAreRefused)
{
    std::int32_t channels[4] = {};
    char mac[6] = {};
    const Vod2dRefusal refusals[] = {
        {"Vod2dGetGroupConfig", [] { return Vod2dApi::Vod2dGetGroupConfig(nullptr); }, -1, 3,
         "apInfo is nullptr, return"},
        {"Vod2dCreateGroup", [] { return Vod2dApi::Vod2dCreateGroup(nullptr); }, -1, 3,
         "apInfo is nullptr, return"},
        {"Vod2dGetChannelListFor5G", [] { return Vod2dApi::Vod2dGetChannelListFor5G(nullptr, 4); },
         -1, 3, "chanList is nullptr, return"},
        {"Vod2dGetChannelListFor5G",
         [&] { return Vod2dApi::Vod2dGetChannelListFor5G(channels, -1); }, -1, 4,
         "chanList len is invalid"},
        {"Vod2dGetBaseMacAddress", [] { return Vod2dApi::Vod2dGetBaseMacAddress(nullptr, 6); }, -1,
         3, "macAddr is nullptr, return"},
        {"Vod2dGetBaseMacAddress", [&] { return Vod2dApi::Vod2dGetBaseMacAddress(mac, 5); }, -1, 4,
         "mac len is invalid"},
        {"Vod2dGetBaseMacAddress", [&] { return Vod2dApi::Vod2dGetBaseMacAddress(mac, -6); }, -1, 4,
         "mac len is invalid"},
        {"Vod2dIsWifiActive", [] { return Vod2dApi::Vod2dIsWifiActive(nullptr); }, -1, 3,
         "active is nullptr, return"},
        {"Vod2dGetGroupInfoConnected", [] { return Vod2dApi::Vod2dGetGroupInfoConnected(nullptr); },
         -1, 3, "group is nullptr, return"},
    };
    ExpectRefusals(refusals);
}

// ---- The group's record

class GroupRecord : public SdkTest, public ::testing::WithParamInterface<std::int32_t> {
  protected:
    /// Calls the operation that the parameter selects.
    int Ask(Vod2dSoftAPInfo& info) const
    {
        return GetParam() == kCreateGroup ? Vod2dApi::Vod2dCreateGroup(&info)
                                          : Vod2dApi::Vod2dGetGroupConfig(&info);
    }
};

TEST_P(GroupRecord, IsFilledFromTheReply)
{
    channel.Reply(GetParam(), GroupReply(0));
    Vod2dSoftAPInfo info;
    std::memset(&info, 0x5A, sizeof info);
    EXPECT_EQ(Ask(info), 0);
    EXPECT_EQ(std::string(info.ssid, 32), std::string("forest network") + std::string(18, '\0'));
    EXPECT_EQ(std::string(info.pwd, 256), std::string("oak and ash") + std::string(245, '\0'));
    EXPECT_THAT(info.mac, ElementsAre(1, 2, 3, 4, 5, 6));
    EXPECT_EQ(info.channel, 149);
    EXPECT_EQ(info.active, 7);
    EXPECT_EQ(std::string(info.ipAddress, 16), std::string("192.168.137.100") + '\0');
    EXPECT_EQ(info.is5GHz, 9);
}

TEST_P(GroupRecord, IsFilledWhateverTheStatus)
{
    channel.Reply(GetParam(), GroupReply(3));
    Vod2dSoftAPInfo info{};
    EXPECT_EQ(Ask(info), 3);
    EXPECT_STREQ(info.ssid, "forest network");
}

TEST_P(GroupRecord, IsUnchangedWithoutAReply)
{
    Vod2dSoftAPInfo info;
    std::memset(&info, 0x5A, sizeof info);
    EXPECT_EQ(Ask(info), -12);
    const std::string_view bytes(reinterpret_cast<const char*>(&info), sizeof info);
    EXPECT_EQ(bytes.find_first_not_of('\x5A'), std::string_view::npos);
}

TEST_P(GroupRecord, APassPhraseThatCannotBeCopiedFails)
{
    channel.Reply(GetParam(), GroupReply(3));
    Copies::FailNext();
    Vod2dSoftAPInfo info;
    std::memset(&info, 0x5A, sizeof info);
    EXPECT_EQ(Ask(info), -16) << "the copy's result counts before the status";
    // The fields that are copied before it are filled, the later ones are not.
    EXPECT_EQ(info.channel, 149);
    EXPECT_EQ(info.active, 7);
    EXPECT_EQ(info.is5GHz, 9);
    EXPECT_STREQ(info.ssid, "forest network");
    EXPECT_THAT(info.mac, ::testing::Each(0x5A));
    EXPECT_THAT(info.ipAddress, ::testing::Each(0x5A));
    ASSERT_EQ(LogLines::All().size(), 3U);
    EXPECT_EQ(LogLines::All()[1], Line(4, "pwd memcpy_s failed!", "Vod2dSoftAPInfoCopy"));
}

TEST_P(GroupRecord, AnAddressThatCannotBeCopiedFails)
{
    channel.Reply(GetParam(), GroupReply(0));
    Copies::FailAfter(1);
    Vod2dSoftAPInfo info;
    std::memset(&info, 0x5A, sizeof info);
    EXPECT_EQ(Ask(info), -16);
    EXPECT_STREQ(info.pwd, "oak and ash");
    EXPECT_THAT(info.ipAddress, ::testing::Each(0x5A));
    ASSERT_EQ(LogLines::All().size(), 3U);
    EXPECT_EQ(LogLines::All()[1], Line(4, "mac memcpy_s failed!", "Vod2dSoftAPInfoCopy"));
}

TEST_P(GroupRecord, ALastFieldThatCannotBeCopiedIsLoggedAsTheAddress)
{
    channel.Reply(GetParam(), GroupReply(0));
    Copies::FailAfter(2);
    Vod2dSoftAPInfo info;
    std::memset(&info, 0x5A, sizeof info);
    EXPECT_EQ(Ask(info), -16);
    EXPECT_THAT(info.mac, ElementsAre(1, 2, 3, 4, 5, 6));
    ASSERT_EQ(LogLines::All().size(), 3U);
    EXPECT_EQ(LogLines::All()[1], Line(4, "mac memcpy_s failed!", "Vod2dSoftAPInfoCopy"));
}

INSTANTIATE_TEST_SUITE_P(Of, GroupRecord, ::testing::Values(kGroupConfig, kCreateGroup),
                         [](const auto& row) {
                             return row.param == kCreateGroup ? "CreateGroup" : "GetGroupConfig";
                         });

static_assert(sizeof(Vod2dSoftAPInfo) == 320);
static_assert(offsetof(Vod2dSoftAPInfo, ssid) == 0);
static_assert(offsetof(Vod2dSoftAPInfo, pwd) == 32);
static_assert(offsetof(Vod2dSoftAPInfo, mac) == 288);
static_assert(offsetof(Vod2dSoftAPInfo, channel) == 296);
static_assert(offsetof(Vod2dSoftAPInfo, active) == 300);
static_assert(offsetof(Vod2dSoftAPInfo, ipAddress) == 301);
static_assert(offsetof(Vod2dSoftAPInfo, is5GHz) == 317);

// ---- Creating and removing

TEST_F(SdkTest, Vod2dCreateGroupSendsTheChannelAlone)
{
    channel.Reply(kCreateGroup, GroupReply(0));
    Vod2dSoftAPInfo info;
    std::memset(&info, 0x5A, sizeof info);
    info.channel = -3;
    EXPECT_EQ(Vod2dApi::Vod2dCreateGroup(&info), 0);
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(kCreateGroup, CreateRequest(-3), 20000));
    EXPECT_EQ(channel.OnlyRequest().item.length, 328U);
}

std::vector<std::string> EventLines(const char* errorCode)
{
    const std::string function = "(VoviewDataReport::ReportApplicationInterface)";
    return {"event 954079014",
            "log 2 [VoView]==== 954079014 ====" + function,
            std::string("log 2 [VoView]ErrorCode:") + errorCode + function,
            "log 2 [VoView]Tavimo:0.0.0.0" + function,
            "log 2 [VoView]WifiDriver:0.0.0.0" + function,
            "log 2 [VoView]DriverApiLibVersion0.0.0.0" + function};
}

std::vector<std::string> Concatenated(std::vector<std::string> head,
                                      const std::vector<std::string>& middle,
                                      const std::vector<std::string>& tail)
{
    head.insert(head.end(), middle.begin(), middle.end());
    head.insert(head.end(), tail.begin(), tail.end());
    return head;
}

/// Clears the create-time-out flag.
void ForgetTimeOut(Channel& channel)
{
    channel.Deliver(kGroupsChange, Bytes().I32(0).I32(0));
}

TEST_F(SdkTest, Vod2dCreateGroupTimesOut)
{
    Threads::Use(ThreadMode::kKept);
    Vod2dSoftAPInfo info{};
    EXPECT_EQ(Vod2dApi::Vod2dCreateGroup(&info), -12);
    EXPECT_EQ(Journal::Entries(),
              Concatenated({"log 1 start(Vod2dApi::Vod2dCreateGroup)", "request 0xD7002E"},
                           EventLines("1"),
                           {"log 1 start(IPCMessageSender::SetCreateGroupTimeOut)",
                            "log 1 end(IPCMessageSender::SetCreateGroupTimeOut)",
                            "log 1 Vod2dCreateGroup timeout(Vod2dApi::Vod2dCreateGroup)", "thread",
                            "log 3 recvMsg.message is nullptr, return"
                            "(Vod2dApi::Vod2dCreateGroup)"}));
    EXPECT_THAT(Events::All(), ElementsAre(ApplicationInterface(1)));
    EXPECT_EQ(Threads::Started(), 1);
    ForgetTimeOut(channel);
}

TEST_F(SdkTest, Vod2dCreateGroupTimesOutWhereNoThreadCanBeCreated)
{
    Threads::Use(ThreadMode::kFailing);
    Vod2dSoftAPInfo info{};
    EXPECT_EQ(Vod2dApi::Vod2dCreateGroup(&info), -12);
    EXPECT_EQ(LogLines::All().back(), NoReply("Vod2dApi::Vod2dCreateGroup"));
    ForgetTimeOut(channel);
}

TEST_F(SdkTest, Vod2dRemoveGroupTimesOut)
{
    Threads::Use(ThreadMode::kKept);
    EXPECT_EQ(Vod2dApi::Vod2dRemoveGroup(), -12);
    EXPECT_EQ(Journal::Entries(),
              Concatenated({"log 1 start(Vod2dApi::Vod2dRemoveGroup)", "request 0xD7002F"},
                           EventLines("2"),
                           {"log 1 Vod2dRemoveGroup timeout(Vod2dApi::Vod2dRemoveGroup)", "thread",
                            "log 3 recvMsg.message is nullptr, return"
                            "(Vod2dApi::Vod2dRemoveGroup)"}));
    EXPECT_THAT(Events::All(), ElementsAre(ApplicationInterface(2)));
    EXPECT_EQ(Threads::Started(), 1);
}

// ---- Reading

TEST_F(SdkTest, Vod2dGetFrequencyReturnsIt)
{
    channel.Reply(kFrequency, Bytes().I32(5745));
    EXPECT_EQ(Vod2dApi::Vod2dGetFrequency(), 5745);
}

TEST_F(SdkTest, Vod2dIsWifiActiveReadsOneByte)
{
    bool active = true;
    channel.Reply(kWifiActive, Bytes().U8(0).U8(1).U8(1).U8(1).I32(0));
    EXPECT_EQ(Vod2dApi::Vod2dIsWifiActive(&active), 0);
    EXPECT_FALSE(active);
    channel.Reply(kWifiActive, Bytes().U8(0x80).Zeros(3).I32(5));
    EXPECT_EQ(Vod2dApi::Vod2dIsWifiActive(&active), 5);
    EXPECT_TRUE(active) << "whatever the status";
    active = false;
    channel.ReplyNothing(kWifiActive);
    EXPECT_EQ(Vod2dApi::Vod2dIsWifiActive(&active), -12);
    EXPECT_FALSE(active);
}

TEST_F(SdkTest, Vod2dGetGroupInfoConnectedFillsBothFields)
{
    channel.Reply(kGroupConnected, Bytes().I32(1).I32(-5).I32(9));
    Vod2dLinkGroup group{77, 77};
    EXPECT_EQ(Vod2dApi::Vod2dGetGroupInfoConnected(&group), 9);
    EXPECT_EQ(group.groupState, 1);
    EXPECT_EQ(group.stationCount, -5);
}

TEST_F(SdkTest, Vod2dGetBaseMacAddressCopiesSixBytes)
{
    channel.Reply(kBaseMac, Bytes().Raw(Counting(6)).U8(0xEE).U8(0xEE).I32(0));
    char mac[8];
    std::memset(mac, 0x5A, sizeof mac);
    EXPECT_EQ(Vod2dApi::Vod2dGetBaseMacAddress(mac, 6), 0);
    EXPECT_THAT(mac, ElementsAre(1, 2, 3, 4, 5, 6, 0x5A, 0x5A));
}

TEST_F(SdkTest, Vod2dGetBaseMacAddressWhoseCopyFails)
{
    constexpr auto kFunction = "Vod2dApi::Vod2dGetBaseMacAddress";
    channel.Reply(kBaseMac, Bytes().Raw(Counting(6)).Zeros(2).I32(0));
    Copies::FailNext();
    char mac[6];
    EXPECT_EQ(Vod2dApi::Vod2dGetBaseMacAddress(mac, 6), -16);
    EXPECT_THAT(
        LogLines::All(),
        ElementsAre(Start(kFunction), Line(4, "mac memcpy_s failed!", kFunction), End(kFunction)));
}

// ---- The channel list, whose capacity counts elements and bounds bytes

TEST_F(SdkTest, Vod2dGetChannelListFor5GFillsWhatFitsAndZeroesTheRest)
{
    channel.Reply(kChannelList, ChannelReply({36, 40}, 8, 0));
    std::vector<std::int32_t> channels(9, 77);
    EXPECT_EQ(Vod2dApi::Vod2dGetChannelListFor5G(channels.data(), 8), 0);
    EXPECT_THAT(channels, ElementsAre(36, 40, 0, 0, 0, 0, 0, 0, 77));
}

TEST_F(SdkTest, Vod2dGetChannelListFor5GCountsElementsAsBytes)
{
    constexpr auto kFunction = "Vod2dApi::Vod2dGetChannelListFor5G";
    channel.Reply(kChannelList, ChannelReply({36, 40}, 8, 5));
    std::vector<std::int32_t> channels(8, 77);
    EXPECT_EQ(Vod2dApi::Vod2dGetChannelListFor5G(channels.data(), 7), -16);
    EXPECT_THAT(channels, ElementsAre(0, 0, 0, 0, 0, 0, 0, 77));
    EXPECT_THAT(
        LogLines::All(),
        ElementsAre(Start(kFunction), Line(4, "ssid memcpy_s failed!", kFunction), End(kFunction)));
}

TEST_F(SdkTest, Vod2dGetChannelListFor5GFillsWhateverTheStatus)
{
    channel.Reply(kChannelList, ChannelReply({36}, 4, 5));
    std::vector<std::int32_t> channels(4, 77);
    EXPECT_EQ(Vod2dApi::Vod2dGetChannelListFor5G(channels.data(), 4), 5);
    EXPECT_THAT(channels, ElementsAre(36, 0, 0, 0));
}

TEST_F(SdkTest, Vod2dGetChannelListFor5GWithoutAnyRoom)
{
    std::int32_t untouched = 77;
    channel.Reply(kChannelList, ChannelReply({}, 0, 0));
    EXPECT_EQ(Vod2dApi::Vod2dGetChannelListFor5G(&untouched, 0), 0);
    channel.Reply(kChannelList, ChannelReply({36}, 4, 0));
    EXPECT_EQ(Vod2dApi::Vod2dGetChannelListFor5G(&untouched, 0), -16);
    EXPECT_EQ(untouched, 77);
}

TEST_F(SdkTest, Vod2dGetChannelListFor5GOfAFullReply)
{
    std::vector<std::int32_t> all(255);
    for (std::size_t index = 0; index < all.size(); ++index) {
        all[index] = static_cast<std::int32_t>(1000 + index);
    }
    channel.Reply(kChannelList, ChannelReply(all, 1020, 0));
    std::vector<std::int32_t> channels(1020, 77);
    EXPECT_EQ(Vod2dApi::Vod2dGetChannelListFor5G(channels.data(), 1020), 0);
    EXPECT_TRUE(std::equal(all.begin(), all.end(), channels.begin()));
    EXPECT_EQ(channels[255], 0);
}

TEST_F(SdkTest, Vod2dGetChannelListFor5GReadsNoFurtherThanItsField)
{
    // A count larger than the field, within the capacity: count and status are not read as
    // channels.
    channel.Reply(kChannelList, ChannelReply({36}, 1028, 0));
    std::vector<std::int32_t> channels(2000, 77);
    EXPECT_EQ(Vod2dApi::Vod2dGetChannelListFor5G(channels.data(), 2000), 0);
    EXPECT_EQ(channels[0], 36);
    EXPECT_EQ(channels[255], 0);
    // A count larger than both.
    channel.Reply(kChannelList, ChannelReply({36}, 0xFFFFFFFF, 0));
    EXPECT_EQ(Vod2dApi::Vod2dGetChannelListFor5G(channels.data(), 2000), -16);
}

}  // namespace

}  // namespace pelacon::test
