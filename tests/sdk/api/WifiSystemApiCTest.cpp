// The C form of WifiSystemApi: that it forwards, and where it differs from the class.
#include <PelaconSDK/WifiSystem.h>
#include <sdk/api/WifiSystemTables.h>
#include <tests/support/SdkTest.h>

#include <array>
#include <functional>
#include <numeric>
#include <ostream>
#include <string>

namespace pelacon::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// ---- What is sent

/// A function, and the only request that it sends.
struct Sends {
    const char* name;
    std::function<void()> function;
    std::int32_t id;
    ByteVector payload;
};
void PrintTo(const Sends& sends, std::ostream* out)
{
    *out << sends.name;
}

class WifiSystemRequest : public SdkTest, public ::testing::WithParamInterface<Sends> {};

TEST_P(WifiSystemRequest, IsSent)
{
    GetParam().function();
    const Sent sent = channel.OnlyRequest();
    EXPECT_EQ(sent.item.msgId, GetParam().id);
    EXPECT_EQ(sent.payload, GetParam().payload);
}

char cText[64];
std::int32_t cNumber = 0;
std::array<std::int32_t, 4> cNumbers{};
SoftApConnectStatusCallbacksC connectTable{};
SoftApNotificationCallbacksC notificationTable{};
WifiStateCallbacksC stateTable{};
WifiChannelCallbacksC channelTable{};
const char* const cTypes[] = {"phone", "tablet"};

INSTANTIATE_TEST_SUITE_P(
    SoftAp, WifiSystemRequest,
    ::testing::Values(
        Sends{"DestroySoftAP", [] { WifiSystemDestroySoftAP(kGoPurposeScreen); }, 0xD70003,
              Bytes().I32(2)},
        Sends{"RefreshSoftAPChannel", [] { WifiSystemRefreshSoftAPChannel(); }, 0xD70001, {}},
        Sends{"GetSoftAPChannel", [] { WifiSystemGetSoftAPChannel(); }, 0xD70006, {}},
        Sends{"CheckMySoftAPExist", [] { WifiSystemCheckMySoftAPExist(); }, 0xD70023, {}},
        Sends{"GetSSID", [] { WifiSystemGetSSID(cText, 64); }, 0xD70024, {}},
        Sends{"ChangeSSIDAndPasswd", [] { WifiSystemChangeSSIDAndPasswd(); }, 0xD70025, {}},
        Sends{"GetSoftApError", [] { WifiSystemGetSoftApError(); }, 0xD70096, {}},
        Sends{"GetLegacyAPIP", [] { WifiSystemGetLegacyAPIP(cText, 64); }, 0xD7001B, {}},
        Sends{"IsAPConnected", [] { WifiSystemIsAPConnected(&cNumber, cText, 64); }, 0xD70097, {}},
        Sends{"SetPairDeviceModelName", [] { WifiSystemSetPairDeviceModelName("pad"); }, 0xD70009,
              Bytes().Text("pad").U8(0)},
        Sends{"GetPairDeviceModelName",
              [] { WifiSystemGetPairDeviceModelName(cText, 64); },
              0xD7000A,
              {}},
        Sends{"SetListProductType", [] { WifiSystemSetListProductType(cTypes, 2); }, 0xD70026,
              Bytes().Text("phone,tablet,").U8(0)},
        Sends{"SetNoProductType", [] { WifiSystemSetListProductType(nullptr, 0); }, 0xD70026,
              Bytes().U8(0)},
        Sends{"GetRestartMobileHotpotFlag",
              [] { WifiSystemGetRestartMobileHotpotFlag(); },
              0xD7000B,
              {}},
        Sends{"SetRestartMobileHotpotFlag", [] { WifiSystemSetRestartMobileHotpotFlag(true); },
              0xD7000C, Bytes().U8(1)},
        Sends{"RestartWiFiDirectVirtualAdapter",
              [] { WifiSystemRestartWiFiDirectVirtualAdapter(true); }, 0xD7001F, Bytes().U8(1)},
        Sends{"GetRestartCount", [] { WifiSystemGetRestartCount(); }, 0xD7001E, {}},
        Sends{"GetWakeUpRestartCount", [] { WifiSystemGetWakeUpRestartCount(); }, 0xD7001D, {}},
        Sends{"ResetWakeUpCount", [] { WifiSystemResetWakeUpCount(); }, 0xD7001C, {}},
        Sends{"GetAdapterIndex", [] { WifiSystemGetAdapterIndex(); }, 0xD70021, {}},
        Sends{"GetAdapterGuid", [] { WifiSystemGetAdapterGuid(cText, 64); }, 0xD70022, {}},
        Sends{"RegistSoftApConnectStatus",
              [] { WifiSystemRegistSoftApConnectStatus(&connectTable); },
              0xD70005,
              {}},
        Sends{"RegisterSoftApNotificationEventCallback",
              [] { WifiSystemRegisterSoftApNotificationEventCallback(&notificationTable); },
              0xD70098,
              {}},
        Sends{"UnRegisterSoftApNotificationEventCallback",
              [] { WifiSystemUnRegisterSoftApNotificationEventCallback(&notificationTable); },
              0xD70099,
              {}}),
    [](const auto& sends) { return std::string(sends.param.name); });

INSTANTIATE_TEST_SUITE_P(
    ChannelsAndSwitch, WifiSystemRequest,
    ::testing::Values(
        Sends{"GetPCChannelList",
              [] { WifiSystemGetPCChannelList(cText, 64, cText, 64, &cNumber); },
              0xD70004,
              {}},
        Sends{"GetPCSupportChannelList",
              [] {
                  std::int32_t none = 0;
                  WifiSystemGetPCSupportChannelList(nullptr, &none, nullptr, &none, &cNumber);
              },
              0xD70016,
              {}},
        Sends{"SetPhoneCurrentChannel", [] { WifiSystemSetPhoneCurrentChannel(36); }, 0xD7000D,
              Bytes().I32(36)},
        Sends{"GetRecordPhoneChannel", [] { WifiSystemGetRecordPhoneChannel(); }, 0xD70017, {}},
        Sends{"AddPhoneSupportChannel", [] { WifiSystemAddPhoneSupportChannel(40); }, 0xD7000E,
              Bytes().I32(40)},
        Sends{"AddPhoneSupport24Channel", [] { WifiSystemAddPhoneSupport24Channel(6); }, 0xD70011,
              Bytes().I32(6)},
        Sends{"RemovePhoneSupportChannels",
              [] { WifiSystemRemovePhoneSupportChannels(); },
              0xD7000F,
              {}},
        Sends{"GetRecordPhoneChannelList",
              [] { WifiSystemGetRecordPhoneChannelList(cNumbers.data(), 4); },
              0xD70015,
              {}},
        Sends{"GetRecordPhone24GChannelList",
              [] { WifiSystemGetRecordPhone24GChannelList(cNumbers.data(), 4); },
              0xD70014,
              {}},
        Sends{
            "GetPhoneChannelList", [] { WifiSystemGetPhoneChannelList(cText, 64); }, 0xD70018, {}},
        Sends{"CheckIsSet5GFailed", [] { WifiSystemCheckIsSet5GFailed(); }, 0xD70010, {}},
        Sends{"RepickChannelWithoutEffect", [] { WifiSystemRepickChannelWithoutEffect(true); },
              0xD70012, Bytes().U8(1)},
        Sends{"SetAPFrequence", [] { WifiSystemSetAPFrequence(true); }, 0xD70027, Bytes().U8(1)},
        Sends{"GetFrequenceType", [] { WifiSystemGetFrequenceType(36); }, 0xD70013,
              Bytes().I32(36)},
        Sends{"Is5GChannel", [] { WifiSystemIs5GChannel(36); }, 0xD70019, Bytes().I32(36)},
        Sends{"Is24GChannel", [] { WifiSystemIs24GChannel(6); }, 0xD7001A, Bytes().I32(6)},
        Sends{"GetFrequencyFromChannel", [] { WifiSystemGetFrequencyFromChannel(6); }, 0xD70020,
              Bytes().I32(6)},
        Sends{"EnableWifi", [] { WifiSystemEnableWifi(true); }, 0xD7009A, Bytes().U8(1)},
        Sends{"GetWifiState", [] { WifiSystemGetWifiState(); }, 0xD7009B, {}},
        Sends{"RegistWifiStateChangeCallback",
              [] { WifiSystemRegistWifiStateChangeCallback(&stateTable); },
              0xD7009C,
              {}},
        Sends{"UnRegistWifiStateChangeCallback",
              [] { WifiSystemUnRegistWifiStateChangeCallback(&stateTable); },
              0xD7009D,
              {}},
        Sends{"RegistWifiChannelCallback",
              [] { WifiSystemRegistWifiChannelCallback(&channelTable); },
              0xD70007,
              {}}),
    [](const auto& sends) { return std::string(sends.param.name); });

// ---- Results

TEST_F(SdkTest, WifiSystemResultsAreThoseOfTheMembers)
{
    channel.Reply(0xD70003, Bytes().I32(7));
    channel.Reply(0xD70006, Bytes().U8(149));
    channel.Reply(0xD70023, Bytes().U8(1));
    channel.Reply(0xD70021, Bytes().U32(0xFFFFFFFE));
    channel.Reply(0xD70013, Bytes().I32(1));
    channel.Reply(0xD7009B, Bytes().I32(2));
    EXPECT_EQ(WifiSystemDestroySoftAP(kGoPurposeAny), 7);
    EXPECT_EQ(WifiSystemGetSoftAPChannel(), 149);
    EXPECT_TRUE(WifiSystemCheckMySoftAPExist());
    EXPECT_EQ(WifiSystemGetAdapterIndex(), 0xFFFFFFFE);
    EXPECT_EQ(WifiSystemGetFrequenceType(36), kWifiFrequence5G);
    EXPECT_EQ(WifiSystemGetWifiState(), kWifiStateOn);
}

// ---- Creating a soft AP

constexpr std::int32_t kCreateInC = 0xD70002;

TEST_F(SdkTest, WifiSystemCreateSoftApSendsTheTwoRequestMembers)
{
    SoftAPInfoC info{};
    info.requestedBand = kSoftApBand5G;
    info.purpose = kGoPurposeTransfer;
    info.errorCode = 99;
    EXPECT_EQ(WifiSystemCreateSoftAP(&info), -1) << "unanswered";
    EXPECT_THAT(channel.OnlyRequest(),
                RequestIs(kCreateInC, Bytes().Zeros(300).U8(2).Zeros(19).I32(1).Zeros(4), 20000));
    EXPECT_EQ(info.errorCode, 99) << "unchanged";
}

TEST_F(SdkTest, WifiSystemCreateSoftApFillsTheRecord)
{
    channel.Reply(kCreateInC, Bytes()
                                  .Fill(32, 'n')
                                  .Fill(256, 'p')
                                  .Raw(Counting(6))
                                  .Zeros(2)
                                  .U8(149)
                                  .Zeros(4)
                                  .Fill(16, '1')
                                  .U8(2)
                                  .Zeros(6)
                                  .I32(-77));
    SoftAPInfoC info{};
    info.requestedBand = kSoftApBandAny;
    info.purpose = kGoPurposeScreen;
    EXPECT_EQ(WifiSystemCreateSoftAP(&info), -77);
    EXPECT_EQ(info.ssid, std::string(32, 'n'));
    EXPECT_EQ(info.password, std::string(256, 'p'));
    EXPECT_EQ(info.ipAddress, std::string(16, '1'));
    EXPECT_THAT(info.mac, ElementsAre(1, 2, 3, 4, 5, 6));
    EXPECT_EQ(info.channel, 149);
    EXPECT_EQ(info.band, 2);
    EXPECT_EQ(info.requestedBand, kSoftApBandAny) << "as it was";
    EXPECT_EQ(info.purpose, kGoPurposeScreen) << "as it was";
    EXPECT_EQ(info.errorCode, -77);
}

// ---- Texts

TEST_F(SdkTest, WifiSystemTextsAreCutToTheirBuffers)
{
    channel.Reply(0xD70024, Bytes().Text("garden").U8(0));
    struct Case {
        std::int32_t size;
        std::string written;
    };
    for (const Case& each : {Case{64, "garden"}, {7, "garden"}, {6, "garde"}, {2, "g"}, {1, ""}}) {
        std::string buffer(64, '#');
        EXPECT_EQ(WifiSystemGetSSID(buffer.data(), each.size), 6) << each.size;
        EXPECT_EQ(buffer.substr(0, buffer.find('#')), each.written + '\0') << each.size;
    }
}

TEST_F(SdkTest, WifiSystemTextsAreEmptyWhenUnanswered)
{
    std::string buffer(8, '#');
    EXPECT_EQ(WifiSystemGetAdapterGuid(buffer.data(), 8), 0);
    EXPECT_EQ(buffer[0], '\0');
}

TEST_F(SdkTest, WifiSystemModelNameIsEmptyWhenThereIsNone)
{
    channel.Reply(0xD7000A, Bytes().Text("old", 256).U8(0));
    EXPECT_EQ(WifiSystemGetPairDeviceModelName(cText, 64), 0);
    EXPECT_EQ(std::string(cText), "");
    channel.Reply(0xD7000A, Bytes().Text("pad", 256).U8(1));
    EXPECT_EQ(WifiSystemGetPairDeviceModelName(cText, 64), 3);
    EXPECT_EQ(std::string(cText), "pad");
}

TEST_F(SdkTest, WifiSystemIsApConnectedFillsBoth)
{
    channel.Reply(0xD70097, Bytes().I32(11).Text("garden", 32).U8(1));
    EXPECT_TRUE(WifiSystemIsAPConnected(&cNumber, cText, 4));
    EXPECT_EQ(cNumber, 11);
    EXPECT_EQ(std::string(cText), "gar");
}

// ---- Lists

TEST_F(SdkTest, WifiSystemListsAreCutToTheirCapacity)
{
    channel.Reply(0xD70015, Bytes().Text("36,40,44").U8(0));
    cNumbers = {1, 2, 3, 4};
    EXPECT_EQ(WifiSystemGetRecordPhoneChannelList(cNumbers.data(), 2), 3);
    EXPECT_THAT(cNumbers, ElementsAre(36, 40, 3, 4));
    EXPECT_EQ(WifiSystemGetRecordPhoneChannelList(nullptr, 0), 3);
    EXPECT_EQ(WifiSystemGetRecordPhoneChannelList(cNumbers.data(), 4), 3);
    EXPECT_THAT(cNumbers, ElementsAre(36, 40, 44, 4));
}

TEST_F(SdkTest, WifiSystemPcChannelsSayWhetherTheServiceAnswered)
{
    std::int32_t counts[] = {2, 4};
    std::int32_t other[] = {1, 2, 3, 4};
    cNumber = 77;
    EXPECT_FALSE(WifiSystemGetPCSupportChannelList(cNumbers.data(), &counts[0], other, &counts[1],
                                                   &cNumber));
    EXPECT_FALSE(WifiSystemGetPCChannelList(cText, 64, cText, 64, &cNumber));
    EXPECT_EQ(cNumber, 77);
    EXPECT_EQ(counts[0], 2);

    channel.Reply(0xD70016, Bytes().Text("1,6,11", 255).Text("36", 257).I32(6));
    EXPECT_TRUE(WifiSystemGetPCSupportChannelList(cNumbers.data(), &counts[0], other, &counts[1],
                                                  &cNumber));
    EXPECT_EQ(counts[0], 3) << "more than there was room for";
    EXPECT_EQ(cNumbers[1], 6);
    EXPECT_EQ(counts[1], 1);
    EXPECT_THAT(other, ElementsAre(36, 2, 3, 4));
    EXPECT_EQ(cNumber, 6);

    char text5G[3];
    channel.Reply(0xD70004, Bytes().Text("1,6,11", 255).Text("36", 257).I32(6));
    EXPECT_TRUE(WifiSystemGetPCChannelList(cText, 64, text5G, 3, &cNumber));
    EXPECT_EQ(std::string(cText), "1,6,11");
    EXPECT_EQ(std::string(text5G), "36");
}

// ---- Refused arguments

TEST_F(SdkTest, WifiSystemRefusesNullAndNegativeSizes)
{
    const char* const withNull[] = {"phone", nullptr};
    std::int32_t negative = -1;
    EXPECT_EQ(WifiSystemCreateSoftAP(nullptr), -1);
    EXPECT_EQ(WifiSystemGetSSID(nullptr, 8), -1);
    EXPECT_EQ(WifiSystemGetSSID(cText, 0), -1);
    EXPECT_EQ(WifiSystemGetSSID(cText, -1), -1);
    EXPECT_FALSE(WifiSystemIsAPConnected(nullptr, cText, 64));
    EXPECT_FALSE(WifiSystemIsAPConnected(&cNumber, nullptr, 64));
    EXPECT_FALSE(WifiSystemSetPairDeviceModelName(nullptr));
    EXPECT_FALSE(WifiSystemSetListProductType(nullptr, 1));
    EXPECT_FALSE(WifiSystemSetListProductType(cTypes, -1));
    EXPECT_FALSE(WifiSystemSetListProductType(withNull, 2));
    EXPECT_EQ(WifiSystemGetRecordPhoneChannelList(nullptr, 1), -1);
    EXPECT_EQ(WifiSystemGetRecordPhoneChannelList(cNumbers.data(), -1), -1);
    EXPECT_FALSE(WifiSystemGetPCChannelList(cText, 64, nullptr, 64, &cNumber));
    EXPECT_FALSE(WifiSystemGetPCChannelList(cText, 64, cText, 64, nullptr));
    EXPECT_FALSE(WifiSystemGetPCSupportChannelList(nullptr, nullptr, nullptr, nullptr, &cNumber));
    EXPECT_FALSE(WifiSystemGetPCSupportChannelList(cNumbers.data(), &negative, cNumbers.data(),
                                                   &negative, &cNumber));
    WifiSystemRegistSoftApConnectStatus(nullptr);
    WifiSystemRegistWifiChannelCallback(nullptr);
    EXPECT_THAT(channel.Requests(), IsEmpty());
}

TEST_F(SdkTest, WifiSystemLogsTheFunctionThatRefuses)
{
    WifiSystemGetSSID(nullptr, 8);
    WifiSystemGetRecordPhoneChannelList(nullptr, 1);
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Line(4, "invalid params", "WifiSystemGetSSID"),
                            Line(4, "invalid params", "WifiSystemGetRecordPhoneChannelList")));
}

// ---- Tables of callbacks

void Note(const std::string& what)
{
    Journal::Note("called: " + what);
}

std::vector<std::string> Called()
{
    std::vector<std::string> called;
    for (const std::string& entry : Journal::Entries()) {
        if (entry.starts_with("called: ")) {
            called.push_back(entry.substr(8));
        }
    }
    return called;
}

TEST(WifiSystemTables, UnregisteringKeepsNothingOfAnUnknownTable)
{
    using Listeners = TableListeners<WifiStateTable>;
    static constexpr WifiStateCallbacksC kRegistered{};
    static constexpr WifiStateCallbacksC kUnknown{};
    static constexpr WifiStateCallbacksC kAlsoUnknown{};
    const auto* const listener = Listeners::Of(&kRegistered);
    EXPECT_EQ(Listeners::Known(&kRegistered), listener);
    EXPECT_EQ(Listeners::Known(&kUnknown), Listeners::Known(&kAlsoUnknown));
    EXPECT_NE(Listeners::Known(&kUnknown), listener);
    EXPECT_EQ(Listeners::Known(nullptr), nullptr);
}

TEST_F(SdkTest, WifiSystemTablesAreCalled)
{
    SoftApConnectStatusCallbacksC connect{
        [](std::int32_t status) { Note("connect " + std::to_string(status)); }};
    SoftApNotificationCallbacksC soft{
        [](std::uint32_t status) { Note("status " + std::to_string(status)); },
        [](const SoftApAdvertisementState* state) { Note(std::string("state ") + state->ssid); },
        [](std::uint32_t status) { Note("device " + std::to_string(status)); }};
    WifiStateCallbacksC state{[](std::int32_t is) { Note("switch " + std::to_string(is)); }};
    auto& wifiChannel = Lasting(
        WifiChannelCallbacksC{[](std::int32_t is) { Note("channel " + std::to_string(is)); }});
    channel.Reply(0xD70005, Bytes().U8(1));
    channel.Reply(0xD70098, Bytes().I32(0));
    channel.Reply(0xD70099, Bytes().I32(0));
    channel.Reply(0xD7009C, Bytes().U8(1));
    channel.Reply(0xD7009D, Bytes().U8(1));
    channel.Reply(0xD70007, Bytes().U8(1));
    const auto deliver = [&] {
        channel.Deliver(0xD80006, Bytes().I32(1));
        channel.Deliver(0xD80007, Bytes().U32(2).I32(36).Text("garden", 32));
        channel.Deliver(0xD80008, Bytes().U32(0));
        channel.Deliver(0xD80096, Bytes().I32(2));
        channel.Deliver(0xD70008, Bytes().I32(11));
    };
    WifiSystemRegistSoftApConnectStatus(&connect);
    EXPECT_EQ(WifiSystemRegisterSoftApNotificationEventCallback(&soft), 0);
    EXPECT_EQ(WifiSystemRegisterSoftApNotificationEventCallback(&soft), 0) << "only once";
    EXPECT_TRUE(WifiSystemRegistWifiStateChangeCallback(&state));
    WifiSystemRegistWifiChannelCallback(&wifiChannel);
    deliver();
    EXPECT_THAT(Called(), ElementsAre("connect 1", "status 2", "state garden", "device 0",
                                      "switch 2", "channel 11"));

    ForgetWhatHappened();
    WifiSystemRegistSoftApConnectStatus(&connectTable);  // in its place; its function is null
    EXPECT_EQ(WifiSystemUnRegisterSoftApNotificationEventCallback(&soft), 0);
    EXPECT_TRUE(WifiSystemUnRegistWifiStateChangeCallback(&state));
    deliver();
    EXPECT_THAT(Called(), ElementsAre("channel 11"));
}

}  // namespace

}  // namespace pelacon::test
