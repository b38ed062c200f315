#include <PelaconSDK/Vod2dApi.h>
#include <protocol/ServiceStatus.h>
#include <tests/sdk/api/Vod2dMembers.h>
#include <tests/sdk/api/Vod2dRecords.h>
#include <tests/support/SdkTest.h>

#include <cstring>
#include <string>
#include <vector>

namespace pelacon::test {

namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// What members are called with where it does not matter.
std::uint8_t anyBlob[512];
char anyText[256];
std::int32_t anyNumber = 0;
RecommendChannelResponse response;
WifiCardStateInfo card;
Vod2dWifiCfgCallback cfgTable;
WifiCardStateCallback cardTable;
Vod2dConnNotifyRequest connRequest;
char ifName[] = "wlan0";

// ---- What all members share, by rows.

std::vector<Vod2dMember> Members()
{
    const ByteVector answer = Bytes().I32(42);
    return {
        {"Vod2dOrvidSharedlinkIncrease",
         [] { return Vod2dApi::Vod2dOrvidSharedlinkIncrease(); },
         kIncrease,
         {},
         answer},
        {"Vod2dOrvidSharedlinkDecrease",
         [] { return Vod2dApi::Vod2dOrvidSharedlinkDecrease(); },
         kDecrease,
         {},
         answer},
        {"Vod2dGetSelfWifiCfgInfo",
         [] {
             return Vod2dApi::Vod2dGetSelfWifiCfgInfo(static_cast<SelfCfgType>(7), anyBlob,
                                                      &anyNumber);
         },
         kGetSelf, Bytes().I32(7), SelfReply({}, 0, 42)},
        {"Vod2dSetPeerWifiCfgInfo",
         [] {
             std::uint8_t data[3] = {1, 2, 3};
             return Vod2dApi::Vod2dSetPeerWifiCfgInfo(static_cast<PeerCfgType>(-7), data, 3);
         },
         kSetPeer, Bytes().I32(-7).Raw(Counting(3), 512).I32(3), answer},
        {"Vod2dGetIfaceCoexistCap",
         [] { return Vod2dApi::Vod2dGetIfaceCoexistCap(anyText, &anyNumber); },
         kCoexist,
         {},
         CoexistReply("", 0, 42)},
        {"Vod2dRegisterWifiCfgCallback",
         [] { return Vod2dApi::Vod2dRegisterWifiCfgCallback(&cfgTable); },
         kRegisterCfg,
         {},
         answer},
        {"Vod2dGetRecommendChannel",
         [] {
             const RecommendChannelRequest request{1, 2, 3, {4, 5, 6}};
             return Vod2dApi::Vod2dGetRecommendChannel(&request, 1, &response);
         },
         kRecommend, Bytes().I32(1).I32(2).I32(3).I32(4).I32(5).I32(6).PadTo(68),
         Bytes().Zeros(24).I32(42)},
        {"Vod2dSetWifiCardStateNotify",
         [] {
             card = {3, -4};
             return Vod2dApi::Vod2dSetWifiCardStateNotify(&card, &anyNumber, &cardTable);
         },
         kSetCardState, Bytes().I32(3).I32(-4), CardReply({}, 0, 42)},
        {"Vod2dSetConnNotify",
         [] {
             const ByteVector bytes = Counting(32);
             std::memcpy(&connRequest, bytes.data(), sizeof connRequest);
             return Vod2dApi::Vod2dSetConnNotify(&connRequest, &cfgTable);
         },
         kSetConnNotify, Counting(32), answer},
        {"Vod2dSetUpperScene", [] { return Vod2dApi::Vod2dSetUpperScene(ifName, 5, Scene()); },
         kScene, SceneRequest("wlan0", 5), answer},
        {"GetGuidByInterfaceName",
         [] { return Vod2dApi::GetGuidByInterfaceName("wlan0", 5, 39, anyText); }, kGuid,
         Bytes().Text("wlan0").U8(0), Bytes().Zeros(44).I32(42)},
    };
}

INSTANTIATE_TEST_SUITE_P(Config, Vod2dMembers, ::testing::ValuesIn(Members()),
                         [](const auto& row) { return row.param.name; });
INSTANTIATE_TEST_SUITE_P(Config, Vod2dMembersStopped, ::testing::ValuesIn(Members()),
                         [](const auto& row) { return row.param.name; });

// ---- Arguments that are refused

TEST_F(Vod2dArguments, InvalidOnesOfConfigurationsAreRefused)
{
    const SelfCfgType self = kSelfCfgGroupOwner;
    const PeerCfgType peer = kPeerCfgStation;
    const RecommendChannelRequest requests[11] = {};
    std::uint8_t large[513] = {};
    const Vod2dRefusal refusals[] = {
        {"Vod2dGetSelfWifiCfgInfo",
         [&] { return Vod2dApi::Vod2dGetSelfWifiCfgInfo(self, nullptr, &anyNumber); }, -1, 3,
         "cfgData is nullptr, return"},
        {"Vod2dGetSelfWifiCfgInfo",
         [&] { return Vod2dApi::Vod2dGetSelfWifiCfgInfo(self, anyBlob, nullptr); }, -1, 3,
         "len is nullptr, return"},
        {"Vod2dSetPeerWifiCfgInfo",
         [&] { return Vod2dApi::Vod2dSetPeerWifiCfgInfo(peer, nullptr, 3); }, -1, 3,
         "cfgData is nullptr, return"},
        {"Vod2dSetPeerWifiCfgInfo",
         [&] { return Vod2dApi::Vod2dSetPeerWifiCfgInfo(peer, anyBlob, -1); }, -1, 4,
         "cfgData len is invalid"},
        {"Vod2dSetPeerWifiCfgInfo",
         [&] { return Vod2dApi::Vod2dSetPeerWifiCfgInfo(peer, large, 513); }, -16, 4,
         "memcpy failed!"},
        {"Vod2dGetIfaceCoexistCap",
         [] { return Vod2dApi::Vod2dGetIfaceCoexistCap(nullptr, &anyNumber); }, -1, 3,
         "ifaceCoexCap is nullptr, return"},
        {"Vod2dGetIfaceCoexistCap",
         [] { return Vod2dApi::Vod2dGetIfaceCoexistCap(anyText, nullptr); }, -1, 3,
         "validLen is nullptr, return"},
        {"Vod2dRegisterWifiCfgCallback",
         [] { return Vod2dApi::Vod2dRegisterWifiCfgCallback(nullptr); }, -1, 3,
         "callback is nullptr, return"},
        {"Vod2dGetRecommendChannel",
         [] { return Vod2dApi::Vod2dGetRecommendChannel(nullptr, 1, &response); }, -1, 3,
         "request is nullptr, return"},
        {"Vod2dGetRecommendChannel",
         [&] { return Vod2dApi::Vod2dGetRecommendChannel(requests, 1, nullptr); }, -1, 3,
         "resp is nullptr, return"},
        {"Vod2dGetRecommendChannel",
         [&] { return Vod2dApi::Vod2dGetRecommendChannel(requests, -1, &response); }, -1, 4,
         "count is invalid"},
        {"Vod2dGetRecommendChannel",
         [&] { return Vod2dApi::Vod2dGetRecommendChannel(requests, 11, &response); }, -16, 4,
         "memcpy failed!"},
        {"Vod2dSetWifiCardStateNotify",
         [] { return Vod2dApi::Vod2dSetWifiCardStateNotify(&card, nullptr, &cardTable); }, -1, 3,
         "curState is nullptr, return"},
        {"Vod2dSetWifiCardStateNotify",
         [] { return Vod2dApi::Vod2dSetWifiCardStateNotify(&card, &anyNumber, nullptr); }, -1, 3,
         "callback is nullptr, return"},
        {"Vod2dSetWifiCardStateNotify",
         [] { return Vod2dApi::Vod2dSetWifiCardStateNotify(nullptr, &anyNumber, &cardTable); }, -1,
         3, "info is nullptr, return"},
        {"Vod2dSetConnNotify", [] { return Vod2dApi::Vod2dSetConnNotify(nullptr, &cfgTable); }, -1,
         3, "request is nullptr, return"},
        {"Vod2dSetConnNotify", [] { return Vod2dApi::Vod2dSetConnNotify(&connRequest, nullptr); },
         -1, 3, "callback is nullptr, return"},
        {"Vod2dSetUpperScene", [] { return Vod2dApi::Vod2dSetUpperScene(nullptr, 5, Scene()); }, -1,
         3, "ifName is nullptr, return"},
        {"Vod2dSetUpperScene", [] { return Vod2dApi::Vod2dSetUpperScene(ifName, -1, Scene()); }, -1,
         4, "ifName len is invalid"},
        {"GetGuidByInterfaceName",
         [] { return Vod2dApi::GetGuidByInterfaceName(nullptr, 5, 39, anyText); }, -1, 3,
         "ifName is nullptr, return"},
        {"GetGuidByInterfaceName",
         [] { return Vod2dApi::GetGuidByInterfaceName("wlan0", 5, 39, nullptr); }, -1, 3,
         "guid is nullptr, return"},
        {"GetGuidByInterfaceName",
         [] { return Vod2dApi::GetGuidByInterfaceName("wlan0", -1, 39, anyText); }, -1, 4,
         "len is invalid"},
        {"GetGuidByInterfaceName",
         [] { return Vod2dApi::GetGuidByInterfaceName("wlan0", 5, -1, anyText); }, -1, 4,
         "len is invalid"},
    };
    ExpectRefusals(refusals);
}

// ---- The shared link

TEST_F(SdkTest, SharedlinkDecreaseWithoutAReplyListsProcesses)
{
    Threads::Use(ThreadMode::kKept);
    EXPECT_EQ(Vod2dApi::Vod2dOrvidSharedlinkDecrease(), -12);
    const std::string function = "(Vod2dApi::Vod2dOrvidSharedlinkDecrease)";
    EXPECT_THAT(Journal::Entries(),
                ElementsAre("log 1 start" + function, "request 0xD70037",
                            "log 1 Vod2dOrvidSharedlinkDecrease timeout" + function, "thread",
                            "log 3 recvMsg.message is nullptr, return" + function));
    EXPECT_THAT(Events::All(), IsEmpty());
}

TEST_F(SdkTest, SharedlinkIncreaseWithoutAReplyDoesNot)
{
    EXPECT_EQ(Vod2dApi::Vod2dOrvidSharedlinkIncrease(), -12);
    EXPECT_EQ(Threads::Started(), 0);
    EXPECT_EQ(LogLines::All().size(), 2U);
}

// ---- Configurations

TEST_F(SdkTest, SelfConfigurationIsCopiedUpToItsLength)
{
    channel.Reply(kGetSelf, SelfReply(Counting(512), 5, 3));
    std::vector<std::uint8_t> data(512, 0x5A);
    std::int32_t length = 77;
    EXPECT_EQ(Vod2dApi::Vod2dGetSelfWifiCfgInfo(kSelfCfgStation, data.data(), &length), 3)
        << "whatever the status";
    EXPECT_EQ(length, 5);
    EXPECT_EQ(ByteVector(data.begin(), data.begin() + 5), Counting(5));
    EXPECT_THAT(ByteVector(data.begin() + 5, data.end()), Each(0x5A));
}

TEST_F(SdkTest, SelfConfigurationMayFillItsField)
{
    channel.Reply(kGetSelf, SelfReply(Counting(512), 512, 0));
    std::vector<std::uint8_t> data(512);
    std::int32_t length = 0;
    EXPECT_EQ(Vod2dApi::Vod2dGetSelfWifiCfgInfo(kSelfCfgStation, data.data(), &length), 0);
    EXPECT_EQ(length, 512);
    EXPECT_EQ(data, Counting(512));
}

TEST_F(SdkTest, SelfConfigurationOfAnInvalidLengthIsNotCopied)
{
    constexpr auto kFunction = "Vod2dApi::Vod2dGetSelfWifiCfgInfo";
    for (const std::int32_t impossible : {513, 2147483647, -1, -2147483647 - 1}) {
        ForgetWhatHappened();
        channel.Reply(kGetSelf, SelfReply(Counting(512), impossible, 0));
        std::vector<std::uint8_t> data(512);
        std::int32_t length = 77;
        EXPECT_EQ(Vod2dApi::Vod2dGetSelfWifiCfgInfo(kSelfCfgStation, data.data(), &length), -16);
        EXPECT_EQ(length, 77);
        EXPECT_THAT(data, Each(0));
        EXPECT_THAT(
            LogLines::All(),
            ElementsAre(Start(kFunction), Line(4, "memcpy failed!", kFunction), End(kFunction)));
    }
}

TEST_F(SdkTest, PeerConfigurationOfTheWholeFieldIsSent)
{
    channel.Reply(kSetPeer, Bytes().I32(0));
    std::vector<std::uint8_t> data = Counting(512);
    EXPECT_EQ(Vod2dApi::Vod2dSetPeerWifiCfgInfo(kPeerCfgStation, data.data(), 512), 0);
    EXPECT_THAT(channel.OnlyRequest(),
                RequestIs(kSetPeer, Bytes().I32(1).Raw(Counting(512)).I32(512), 5000));
    EXPECT_EQ(channel.OnlyRequest().item.length, 520U);
}

TEST_F(SdkTest, PeerConfigurationMayBeEmpty)
{
    channel.Reply(kSetPeer, Bytes().I32(0));
    std::uint8_t data = 9;
    EXPECT_EQ(Vod2dApi::Vod2dSetPeerWifiCfgInfo(kPeerCfgGroupOwner, &data, 0), 0);
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(kSetPeer, Bytes().Zeros(520), 5000));
}

// ---- Coexistence

TEST_F(SdkTest, CoexistenceIsCopiedUpToItsLength)
{
    channel.Reply(kCoexist, CoexistReply("sta+p2p and more", 7, 3));
    char capability[256];
    std::memset(capability, 0x5A, sizeof capability);
    std::int32_t length = 77;
    EXPECT_EQ(Vod2dApi::Vod2dGetIfaceCoexistCap(capability, &length), 3);
    EXPECT_EQ(length, 7);
    EXPECT_EQ(std::string(capability, 8), "sta+p2p\x5A");
}

TEST_F(SdkTest, CoexistenceMayFillItsFieldButNotMore)
{
    constexpr auto kFunction = "Vod2dApi::Vod2dGetIfaceCoexistCap";
    const std::string whole(256, 'c');
    char capability[256];
    std::int32_t length = 0;
    channel.Reply(kCoexist, CoexistReply(whole, 256, 0));
    EXPECT_EQ(Vod2dApi::Vod2dGetIfaceCoexistCap(capability, &length), 0);
    EXPECT_EQ(std::string(capability, 256), whole);
    EXPECT_EQ(length, 256);
    for (const std::int32_t impossible : {257, -1}) {
        ForgetWhatHappened();
        channel.Reply(kCoexist, CoexistReply(whole, impossible, 0));
        EXPECT_EQ(Vod2dApi::Vod2dGetIfaceCoexistCap(capability, &length), -16);
        EXPECT_EQ(length, 256) << "as before";
        EXPECT_EQ(LogLines::All()[1], Line(4, "memcpy failed!", kFunction));
    }
}

// ---- The recommended channel

TEST_F(SdkTest, TenRequestsForARecommendedChannelAreSent)
{
    RecommendChannelRequest requests[10];
    const ByteVector bytes = Counting(680);
    static_assert(sizeof requests == 680);
    std::memcpy(requests, bytes.data(), sizeof requests);
    channel.Reply(kRecommend, Bytes().Zeros(28));
    EXPECT_EQ(Vod2dApi::Vod2dGetRecommendChannel(requests, 10, &response), 0);
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(kRecommend, bytes, 5000));
}

TEST_F(SdkTest, AChannelRequestOfNoEntriesIsSent)
{
    const RecommendChannelRequest unread{};
    channel.Reply(kRecommend, Bytes().Zeros(28));
    EXPECT_EQ(Vod2dApi::Vod2dGetRecommendChannel(&unread, 0, &response), 0);
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(kRecommend, {}, 5000));
}

TEST_F(SdkTest, TheRecommendedChannelIsFilledWhateverTheStatus)
{
    channel.Reply(kRecommend, Bytes().I32(149).I32(5745).I32(2).I32(80).I32(17).I32(4).I32(9));
    const RecommendChannelRequest request{};
    RecommendChannelResponse filled{};
    EXPECT_EQ(Vod2dApi::Vod2dGetRecommendChannel(&request, 1, &filled), 9);
    EXPECT_EQ(filled.channel, 149);
    EXPECT_EQ(filled.frequency, 5745);
    EXPECT_EQ(filled.band, 2);
    EXPECT_EQ(filled.bandwidth, 80);
    EXPECT_EQ(filled.load, 17);
    EXPECT_EQ(filled.satisfied, 4);
}

TEST_F(SdkTest, ARecommendationWithoutAReplyReportsAnEvent)
{
    const RecommendChannelRequest request{};
    RecommendChannelResponse left{7, 7, 7, 7, 7, 7};
    EXPECT_EQ(Vod2dApi::Vod2dGetRecommendChannel(&request, 1, &left), -12);
    EXPECT_EQ(left.channel, 7);
    EXPECT_THAT(Events::All(), ElementsAre(Event{954079014,
                                                 {Int("ErrorCode", 5), Str("Tavimo", "0.0.0.0"),
                                                  Str("WifiDriver", "0.0.0.0"),
                                                  Str("DriverApiLibVersion", "0.0.0.0")}}));
    ASSERT_EQ(LogLines::All().size(), 7U) << "five of them the event's";
    EXPECT_EQ(LogLines::All()[2].text,
              "[PelaconSDK][VoView]ErrorCode:5(VoviewDataReport::ReportApplicationInterface)");
    EXPECT_EQ(Threads::Started(), 0);
}

// The other statuses: protocol/ServiceStatus.h
static_assert(kWifiSuccess == +protocol::kStatusDone);

}  // namespace

}  // namespace pelacon::test
