// The scene, the names of interfaces, and the states of Wi-Fi cards.
#include <tests/sdk/api/Vod2dRecords.h>
#include <tests/support/SdkTest.h>

#include <cstddef>
#include <cstring>
#include <string>

namespace pelacon::test {

namespace {

using ::testing::ElementsAre;

// ---- The scene, and the name of an interface

TEST_F(SdkTest, AnInterfaceNameMayLeaveRoomForItsNulOnly)
{
    channel.Reply(kScene, Bytes().I32(0));
    std::string name(31, 'w');
    EXPECT_EQ(Vod2dApi::Vod2dSetUpperScene(name.data(), 31, Scene()), 0);
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(kScene, SceneRequest(name, 31), 5000));
}

TEST_F(SdkTest, AnInterfaceNameThatDoesNotFitIsCut)
{
    channel.Reply(kScene, Bytes().I32(0));
    for (const std::size_t length : {32U, 33U, 60U, 5000U}) {
        channel.ForgetSent();
        std::string name(length, 'w');
        const auto given = static_cast<std::int32_t>(length);
        EXPECT_EQ(Vod2dApi::Vod2dSetUpperScene(name.data(), given, Scene()), 0);
        EXPECT_THAT(channel.OnlyRequest(),
                    RequestIs(kScene, SceneRequest(std::string(31, 'w'), given), 5000));
        EXPECT_EQ(channel.OnlyRequest().item.length, 56U);
    }
}

TEST_F(SdkTest, AnInterfaceNameEndsWithItsLength)
{
    channel.Reply(kScene, Bytes().I32(0));
    char name[] = "wlan0";
    EXPECT_EQ(Vod2dApi::Vod2dSetUpperScene(name, 0, Scene()), 0);
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(kScene, SceneRequest("", 0), 5000));
}

static_assert(sizeof(Vod2dUpperScene) == 20);
static_assert(offsetof(Vod2dUpperScene, scene) == 16);
static_assert(sizeof(RecommendChannelRequest) == 68);
static_assert(sizeof(RecommendChannelResponse) == 24);
static_assert(sizeof(Vod2dConnNotifyRequest) == 32);
static_assert(sizeof(WifiCardStateInfo) == 8);

TEST_F(SdkTest, TheGuidIsAlwaysThirtyNineBytes)
{
    const std::string guid = "{01234567-89AB-CDEF-0123-456789ABCDEF}";
    ASSERT_EQ(guid.size(), 38U);
    channel.Reply(kGuid, Bytes().I32(99).Text(guid, 39).U8(0xEE).I32(3));
    char buffer[64];
    std::memset(buffer, 0x5A, sizeof buffer);
    EXPECT_EQ(Vod2dApi::GetGuidByInterfaceName("wlan0", 5, 64, buffer), 3) << "whatever the status";
    EXPECT_STREQ(buffer, guid.c_str());
    EXPECT_EQ(buffer[39], 0x5A);
}

TEST_F(SdkTest, TheGuidNeedsThirtyNineBytes)
{
    constexpr auto kFunction = "Vod2dApi::GetGuidByInterfaceName";
    channel.Reply(kGuid, Bytes().I32(0).Text("{}", 39).U8(0).I32(0));
    char buffer[40];
    std::memset(buffer, 0x5A, sizeof buffer);
    EXPECT_EQ(Vod2dApi::GetGuidByInterfaceName("wlan0", 5, 38, buffer), -16);
    EXPECT_EQ(buffer[38], 0x5A);
    EXPECT_THAT(LogLines::All(), ElementsAre(Start(kFunction), Line(4, "memcpy failed!", kFunction),
                                             End(kFunction)));
    channel.ForgetSent();
    EXPECT_EQ(Vod2dApi::GetGuidByInterfaceName("eth", 0, 39, buffer), 0);
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(kGuid, Bytes().U8(0), 5000));
}

// ---- Card states

TEST_F(SdkTest, OneCardStateIsCopied)
{
    channel.Reply(kSetCardState, CardReply(Bytes().I32(2).I32(1), 1, 0));
    WifiCardStateInfo cards[2] = {{2, 0}, {77, 77}};
    std::int32_t count = 77;
    EXPECT_EQ(
        Vod2dApi::Vod2dSetWifiCardStateNotify(cards, &count, &Lasting<WifiCardStateCallback>()), 0);
    EXPECT_EQ(cards[0].card, 2);
    EXPECT_EQ(cards[0].state, 1);
    EXPECT_EQ(cards[1].card, 77);
    EXPECT_EQ(count, 1);
}

TEST_F(SdkTest, NoCardStateLeavesTheRecordAsItWas)
{
    channel.Reply(kSetCardState, CardReply({}, 0, 0));
    WifiCardStateInfo cards{2, 5};
    std::int32_t count = 77;
    EXPECT_EQ(
        Vod2dApi::Vod2dSetWifiCardStateNotify(&cards, &count, &Lasting<WifiCardStateCallback>()),
        0);
    EXPECT_EQ(cards.state, 5);
    EXPECT_EQ(count, 0);
}

TEST_F(SdkTest, MoreThanOneCardStateDoesNotFit)
{
    constexpr auto kFunction = "Vod2dApi::Vod2dSetWifiCardStateNotify";
    for (const std::int32_t impossible : {2, 5, 2147483647, -1, 0x20000001, -2147483647 - 1}) {
        ForgetWhatHappened();
        channel.Reply(kSetCardState, CardReply(Counting(40), impossible, 0));
        WifiCardStateInfo cards[2] = {{2, 5}, {77, 77}};
        std::int32_t count = 77;
        EXPECT_EQ(
            Vod2dApi::Vod2dSetWifiCardStateNotify(cards, &count, &Lasting<WifiCardStateCallback>()),
            -16)
            << impossible;
        EXPECT_EQ(count, 77);
        EXPECT_EQ(cards[0].card, 0) << "zeroed";
        EXPECT_EQ(cards[1].card, 77);
        EXPECT_THAT(
            LogLines::All(),
            ElementsAre(Start(kFunction), Line(4, "memcpy failed!", kFunction), End(kFunction)));
    }
}

TEST_F(SdkTest, ARefusedCardStateLeavesEverythingAsItWas)
{
    channel.Reply(kSetCardState, CardReply(Counting(40), 1, 7));
    WifiCardStateInfo cards{2, 5};
    std::int32_t count = 77;
    EXPECT_EQ(
        Vod2dApi::Vod2dSetWifiCardStateNotify(&cards, &count, &Lasting<WifiCardStateCallback>()),
        7);
    EXPECT_EQ(cards.card, 2);
    EXPECT_EQ(cards.state, 5);
    EXPECT_EQ(count, 77);
}

}  // namespace

}  // namespace pelacon::test
