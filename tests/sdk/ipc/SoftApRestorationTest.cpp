// Registrations that the library repeats after a restart of the service.
#include <PelaconSDK/Vod2dApi.h>
#include <PelaconSDK/WifiSystemApi.h>
#include <tests/sdk/WifiListener.h>
#include <tests/support/SdkTest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace pelacon::test {

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr std::int32_t kServiceStarted = 0xD700A0;
constexpr std::int32_t kRepair = 0xD700A1;
constexpr auto kRestore = "IPCMessageSender::RestoreSoftAp";

/// The repeated registrations: every request after the repair.
std::vector<Sent> AskedAgain()
{
    std::vector<Sent> requests = Channel::Get().Requests();
    if (requests.empty() || requests.front().item.msgId != kRepair) {
        ADD_FAILURE() << "the repair comes first";
        return requests;
    }
    requests.erase(requests.begin());
    return requests;
}

std::vector<LogLine> RestoreLines()
{
    std::vector<LogLine> lines;
    for (const LogLine& line : LogLines::All()) {
        if (line.text.ends_with("(" + std::string(kRestore) + ")")) {
            lines.push_back(line);
        }
    }
    return lines;
}

class SoftApRestoration : public SdkTest {
  protected:
    /// Registers a listener in each of the Wi-Fi registries, in an arbitrary order.
    void RegisterEverything()
    {
        static IdleListener& deaf = *new IdleListener;
        static auto& group = *new Vod2dWifiBroadcastRecvCb{};
        static auto& configuration = *new Vod2dWifiCfgCallback{};
        static auto& connection = *new Vod2dWifiCfgCallback{};
        static auto& card = *new WifiCardStateCallback{};
        AcceptAll();
        WifiSystemApi& api = WifiSystemApi::GetInstance();
        api.RegistWifiStateChangeCallback(&deaf);
        api.RegisterSoftApNotificationEventCallback(&deaf);
        api.RegistWifiStateChangeCallBack(&deaf);
        api.RegistSoftApConnectStatus(&deaf);
        WifiCardStateInfo info{};
        info.card = 5;
        info.state = 6;
        int32_t count = 0;
        EXPECT_EQ(Vod2dApi::Vod2dSetWifiCardStateNotify(&info, &count, &card), 0);
        EXPECT_EQ(Vod2dApi::Vod2dRegisterWifiCfgCallback(&configuration), 0);
        EXPECT_EQ(Vod2dApi::Vod2dRegisterSoftAPStateChangedCallback(&group), 0);
        Vod2dConnNotifyRequest request{};
        for (int last = 1; last <= 2; ++last) {
            std::memset(&request, last, sizeof request);
            EXPECT_EQ(Vod2dApi::Vod2dSetConnNotify(&request, &connection), 0);
        }
        ForgetWhatHappened();
    }

    /// Accepts every registration.
    void AcceptAll()
    {
        channel.Reply(0xD70005, Bytes().U8(0));
        channel.Reply(0xD70007, Bytes().U8(1));
        channel.Reply(0xD70032, Bytes().I32(0));
        channel.Reply(0xD7007F, Bytes().I32(0));
        channel.Reply(0xD70081, Bytes().I32(0));
        channel.Reply(0xD70083, Bytes().Zeros(48));
        channel.Reply(0xD70098, Bytes().I32(0));
        channel.Reply(0xD7009C, Bytes().U8(1));
    }
};

TEST_F(SoftApRestoration, RegistersEverythingInTheOrderOfTheIds)
{
    RegisterEverything();
    channel.DeliverWithoutPayload(kServiceStarted);
    EXPECT_THAT(
        AskedAgain(),
        ElementsAre(RequestIs(0xD70005, {}, 5000), RequestIs(0xD70007, {}, 5000),
                    RequestIs(0xD70032, {}, 5000), RequestIs(0xD7007F, Bytes().Fill(32, 2), 5000),
                    RequestIs(0xD70081, {}, 5000), RequestIs(0xD70083, Bytes().I32(5).I32(6), 5000),
                    RequestIs(0xD70098, {}, 5000), RequestIs(0xD7009C, {}, 5000)));
    EXPECT_THAT(RestoreLines(), Not(Contains(::testing::Field(&LogLine::level, 4))));
}

TEST_F(SoftApRestoration, FollowsTheReportOfGoneStations)
{
    RegisterEverything();
    channel.DeliverWithoutPayload(kServiceStarted);
    const std::vector<LogLine> lines = LogLines::All();
    const auto gone = std::ranges::find(lines, Start("IPCMessageSender::WifiExceptCallback"));
    const auto restore = std::ranges::find(lines, Start(kRestore));
    const auto last = std::ranges::find(lines, End("IPCMessageSender::ServiceStartNotifyCallback"));
    EXPECT_LT(gone, restore);
    EXPECT_LT(restore, last);
    EXPECT_NE(last, lines.end());
}

TEST_F(SoftApRestoration, GoesOnWhenARegistrationIsNotAnswered)
{
    RegisterEverything();
    channel.ReplyNothing(0xD70007);
    channel.ReplyNothing(0xD70083);
    channel.DeliverWithoutPayload(kServiceStarted);
    EXPECT_EQ(AskedAgain().size(), 8U);
    EXPECT_THAT(RestoreLines(), Contains(NoReply(kRestore)).Times(2));
    EXPECT_THAT(RestoreLines(),
                Contains(Line(4, "RegistWifiStateChangeCallBack failed", kRestore)));
    EXPECT_THAT(RestoreLines(), Contains(Line(4, "Vod2dSetWifiCardStateNotify failed", kRestore)));
    EXPECT_EQ(RestoreLines().back(), End(kRestore));
}

TEST_F(SoftApRestoration, GoesOnWhenARegistrationIsRefused)
{
    RegisterEverything();
    channel.Reply(0xD7009C, Bytes().U8(0));
    channel.Reply(0xD70032, Bytes().I32(4));
    channel.DeliverWithoutPayload(kServiceStarted);
    EXPECT_EQ(AskedAgain().size(), 8U);
    EXPECT_THAT(RestoreLines(),
                Contains(Line(4, "RegistWifiStateChangeCallback failed", kRestore)));
    EXPECT_THAT(RestoreLines(),
                Contains(Line(4, "Vod2dRegisterSoftAPStateChangedCallback failed", kRestore)));
}

TEST_F(SoftApRestoration, SendsNothingToAServiceFromAnotherPath)
{
    RegisterEverything();
    Processes::Set({{77, "/elsewhere/PelaconService", L"PelaconService"}});
    channel.DeliverWithoutPayload(kServiceStarted);
    EXPECT_THAT(channel.Requests(), IsEmpty());
}

}  // namespace

}  // namespace pelacon::test
