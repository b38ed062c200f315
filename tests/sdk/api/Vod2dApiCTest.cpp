// The C form: it forwards to the class, and throws nothing.
#include <PelaconSDK/Vod2dApi.h>
#include <tests/support/SdkTest.h>

#include <functional>
#include <string>

namespace pelacon::test {

namespace {

using ::testing::ElementsAre;

struct Forwarder {
    const char* name;
    std::int32_t requestId;
    ByteVector reply;  ///< for which the result is 42
    std::function<int()> call;
    unsigned requestLength;
};

TEST_F(SdkTest, Vod2dCFormsForward)
{
    const ByteVector answer = Bytes().I32(42);
    const ByteVector group = Bytes().Zeros(320).I32(42);
    Vod2dSoftAPInfo info{};
    Vod2dLinkGroup link{};
    bool active = false;
    std::int32_t channels[8];
    char text[256];
    std::uint8_t blob[512];
    std::int32_t number = 0;
    Vod2dWifiBroadcastRecvCb groupTable{};
    Vod2dWifiCfgCallback cfgTable{};
    WifiCardStateCallback cardTable{};
    RecommendChannelRequest wishes[2] = {};
    RecommendChannelResponse response{};
    WifiCardStateInfo card{};
    Vod2dConnNotifyRequest conn{};
    char ifName[] = "wlan0";
    Vod2dUpperScene scene{};
    const Forwarder forwarders[] = {
        {"Vod2dCreateGroup", 0xD7002E, group, [&] { return Vod2dCreateGroup(&info); }, 328},
        {"Vod2dRemoveGroup", 0xD7002F, answer, [] { return Vod2dRemoveGroup(); }, 0},
        {"Vod2dGetGroupConfig", 0xD7002D, group, [&] { return Vod2dGetGroupConfig(&info); }, 0},
        {"Vod2dGetGroupInfoConnected", 0xD70031, Bytes().Zeros(8).I32(42),
         [&] { return Vod2dGetGroupInfoConnected(&link); }, 0},
        {"Vod2dIsWifiActive", 0xD70030, Bytes().Zeros(4).I32(42),
         [&] { return Vod2dIsWifiActive(&active); }, 0},
        {"Vod2dGetFrequency", 0xD7002A, answer, [] { return Vod2dGetFrequency(); }, 0},
        {"Vod2dGetChannelListFor5G", 0xD70029, Bytes().Zeros(1024).I32(42),
         [&] { return Vod2dGetChannelListFor5G(channels, 8); }, 0},
        {"Vod2dGetBaseMacAddress", 0xD7002B, Bytes().Zeros(8).I32(42),
         [&] { return Vod2dGetBaseMacAddress(text, 6); }, 0},
        {"Vod2dRegisterSoftAPStateChangedCallback", 0xD70032, answer,
         [&] { return Vod2dRegisterSoftAPStateChangedCallback(&groupTable); }, 0},
        {"Vod2dUnRegisterSoftAPStateChangedCallback", 0xD70033, answer,
         [&] { return Vod2dUnRegisterSoftAPStateChangedCallback(&groupTable); }, 0},
        {"Vod2dGetSelfWifiCfgInfo", 0xD70034, Bytes().Zeros(516).I32(42),
         [&] { return Vod2dGetSelfWifiCfgInfo(kSelfCfgStation, blob, &number); }, 4},
        {"Vod2dSetPeerWifiCfgInfo", 0xD70035, answer,
         [&] { return Vod2dSetPeerWifiCfgInfo(kPeerCfgStation, blob, 4); }, 520},
        {"Vod2dRegisterWifiCfgCallback", 0xD70081, answer,
         [&] { return Vod2dRegisterWifiCfgCallback(&cfgTable); }, 0},
        {"Vod2dGetIfaceCoexistCap", 0xD7007D, Bytes().Zeros(260).I32(42),
         [&] { return Vod2dGetIfaceCoexistCap(text, &number); }, 0},
        {"Vod2dGetRecommendChannel", 0xD7007E, Bytes().Zeros(24).I32(42),
         [&] { return Vod2dGetRecommendChannel(wishes, 2, &response); }, 136},
        {"Vod2dSetWifiCardStateNotify", 0xD70083, Bytes().Zeros(44).I32(42),
         [&] { return Vod2dSetWifiCardStateNotify(&card, &number, &cardTable); }, 8},
        {"Vod2dSetConnNotify", 0xD7007F, answer,
         [&] { return Vod2dSetConnNotify(&conn, &cfgTable); }, 32},
        {"Vod2dSetUpperScene", 0xD70080, answer,
         [&] { return Vod2dSetUpperScene(ifName, 5, scene); }, 56},
        {"GetGuidByInterfaceName", 0xD70082, Bytes().Zeros(44).I32(42),
         [&] { return GetGuidByInterfaceName(ifName, 5, 39, text); }, 6},
        {"Vod2dOrvidSharedlinkIncrease", 0xD70036, answer,
         [] { return Vod2dOrvidSharedlinkIncrease(); }, 0},
        {"Vod2dOrvidSharedlinkDecrease", 0xD70037, answer,
         [] { return Vod2dOrvidSharedlinkDecrease(); }, 0},
    };
    for (const Forwarder& forwarder : forwarders) {
        ForgetWhatHappened();
        channel.Reply(forwarder.requestId, forwarder.reply);
        EXPECT_EQ(forwarder.call(), 42) << forwarder.name;
        EXPECT_EQ(channel.OnlyRequest().item.msgId, forwarder.requestId) << forwarder.name;
        EXPECT_EQ(channel.OnlyRequest().item.length, forwarder.requestLength) << forwarder.name;
        const std::string function = std::string("Vod2dApi::") + forwarder.name;
        EXPECT_THAT(LogLines::All(), ElementsAre(Start(function), End(function)))
            << "no line of their own";
    }
}

TEST_F(SdkTest, Vod2dCFormsPassTheirArgumentsOn)
{
    channel.Reply(0xD7002E, Bytes().Zeros(296).I32(44).Zeros(20).I32(0));
    Vod2dSoftAPInfo info{};
    info.channel = 36;
    EXPECT_EQ(Vod2dCreateGroup(&info), 0);
    EXPECT_EQ(channel.OnlyRequest().payload, ByteVector(Bytes().Zeros(296).I32(36).Zeros(28)));
    EXPECT_EQ(info.channel, 44);

    channel.ForgetSent();
    channel.Reply(0xD70080, Bytes().I32(0));
    char ifName[] = "p2p0";
    Vod2dUpperScene scene{{1, 2, 3}, 4};
    EXPECT_EQ(Vod2dSetUpperScene(ifName, 4, scene), 0);
    EXPECT_EQ(channel.OnlyRequest().payload,
              ByteVector(Bytes().Text("p2p0", 32).I32(4).U8(1).U8(2).U8(3).Zeros(13).I32(4)));
}

TEST_F(SdkTest, Vod2dCFormsRefuseWhatTheMembersRefuse)
{
    std::int32_t number = 0;
    EXPECT_EQ(Vod2dCreateGroup(nullptr), -1);
    EXPECT_EQ(Vod2dGetChannelListFor5G(&number, -1), -1);
    EXPECT_EQ(Vod2dSetUpperScene(nullptr, 1, {}), -1);
    EXPECT_EQ(GetGuidByInterfaceName(nullptr, 1, 39, nullptr), -1);
    EXPECT_THAT(channel.Requests(), ::testing::IsEmpty());
}

}  // namespace

}  // namespace pelacon::test
