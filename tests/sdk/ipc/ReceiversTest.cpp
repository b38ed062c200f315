#include <PelaconSDK/PelaconSvc.h>
#include <sdk/ipc/Receivers.h>
#include <tests/support/SdkTest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace pelacon::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Receiver = void (*)(TagIPCMessageItem& item);

/// Every notification, in the order of its registration; the first thirteen are OnIpcMessage's.
constexpr std::int32_t kCatalogue[] = {
    0xD80006, 0xD80007, 0xD80008, 0xD80038, 0xD80039, 0xD80044, 0xD80048, 0xD80049, 0xD80053,
    0xD80062, 0xD8006A, 0xD8006B, 0xD8007E, 0xD80075, 0xD80076, 0xD80077, 0xD80078, 0xD80079,
    0xD8007A, 0xD80028, 0xD80087, 0xD80088, 0xD8008B, 0xD70008, 0xD700A0, 0xD80096};
constexpr std::size_t kOfFirstReceiver = 13;

// The message client's buffer of a payload: at least this long, with zeros after the payload.
constexpr std::size_t kBufferSize = 2048;

Receiver ReceiverOf(std::size_t position)
{
    return position < kOfFirstReceiver ? OnIpcMessage : OnIpcMessageExt;
}

Receiver OtherReceiverOf(std::size_t position)
{
    return position < kOfFirstReceiver ? OnIpcMessageExt : OnIpcMessage;
}

TEST_F(StoppedSdkTest, RegistersEveryNotificationWithItsReceiverInOrder)
{
    PelaconSvcStart();
    const std::vector<Channel::Registration> registrations = channel.Registrations();
    ASSERT_EQ(registrations.size(), std::size(kCatalogue));
    for (std::size_t position = 0; position < std::size(kCatalogue); ++position) {
        EXPECT_EQ(registrations[position].messageId, kCatalogue[position]);
        const Receiver* receiver = registrations[position].callback.target<Receiver>();
        ASSERT_NE(receiver, nullptr) << Hex(kCatalogue[position]);
        EXPECT_EQ(*receiver, ReceiverOf(position)) << Hex(kCatalogue[position]);
    }
}

TEST_F(StoppedSdkTest, LogsTheStartNotificationBeforeItIsRegistered)
{
    PelaconSvcStart();
    const std::vector<std::string> journal = Journal::Entries();
    const auto line =
        std::find(journal.begin(), journal.end(), "log 1 reg start notify(RegIpcMessage)");
    ASSERT_NE(line, journal.end());
    ASSERT_NE(line, journal.begin());
    EXPECT_EQ(*(line - 1), "register 0xD70008");
    EXPECT_EQ(*(line + 1), "register 0xD700A0");
    EXPECT_EQ(std::count(journal.begin(), journal.end(), *line), 1);
}

TEST_F(StoppedSdkTest, RegistersNothingWithoutAClient)
{
    RegIpcMessage(nullptr);
    EXPECT_THAT(Journal::Entries(), ElementsAre("log 4 ipcSender is  nullptr(RegIpcMessage)"));
}

TEST_F(SdkTest, DropsNotificationsWithoutPayloadSilently)
{
    for (const std::int32_t id : kCatalogue) {
        if (id != 0xD700A0 && id != 0xD8007E) {
            channel.DeliverWithoutPayload(id);
        }
    }
    EXPECT_THAT(Journal::Entries(), IsEmpty());
}

TEST_F(SdkTest, IgnoresUnknownIdsAndThoseOfTheOtherReceiver)
{
    ByteVector payload = Bytes().I32(1).PadTo(kBufferSize);
    TagIPCMessageItem item;
    item.message = payload.data();
    item.length = 4;
    for (std::size_t position = 0; position < std::size(kCatalogue); ++position) {
        item.msgId = kCatalogue[position];
        OtherReceiverOf(position)(item);
    }
    for (const std::int32_t id : {-1, 0, 0xD80000, 0xD80043, 0xD7005C, 0xD8009C}) {
        item.msgId = id;
        OnIpcMessage(item);
        OnIpcMessageExt(item);
    }
    EXPECT_THAT(Journal::Entries(), IsEmpty());
}

// ---- Which handler a notification reaches, seen by the handler's own first line.

struct Route {
    std::int32_t id;
    std::vector<std::string> handlers;
};

void PrintTo(const Route& route, std::ostream* out)
{
    *out << Hex(route.id);
}

class Routes : public SdkTest, public ::testing::WithParamInterface<Route> {};

TEST_P(Routes, ReachTheirHandlers)
{
    channel.Deliver(GetParam().id, Bytes().PadTo(kBufferSize));
    const std::vector<LogLine> lines = LogLines::All();
    auto next = lines.begin();
    for (const std::string& handler : GetParam().handlers) {
        next = std::find_if(next, lines.end(), [&](const LogLine& line) {
            return line.text.ends_with("(" + handler + ")");
        });
        ASSERT_NE(next, lines.end()) << handler;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Catalogue, Routes,
    ::testing::Values(Route{0xD80006, {"IPCMessageSender::ConnectStatusCallBack"}},
                      Route{0xD80007,
                            {"IPCMessageSender::SoftapAdvertisemenStatusBack",
                             "IPCMessageSender::SoftapAdvertisemenStateBack"}},
                      Route{0xD80008, {"IPCMessageSender::SoftapDeviceConnectionStatusBack"}},
                      Route{0xD80038, {"IPCMessageSender::SoftAPGroupsChangeCallBack"}},
                      Route{0xD80039, {"IPCMessageSender::SoftAPConnectionStateChangeCallBack"}},
                      Route{0xD80044, {"IPCMessageSender::AdvertiseDisableCallback"}},
                      Route{0xD80048, {"IPCMessageSender::OnConnectionStateCallback"}},
                      Route{0xD80049, {"IPCMessageSender::OnConnectionStateCallback"}},
                      Route{0xD80053, {"IPCMessageSender::OnNotificationReceiveCallback"}},
                      Route{0xD80062, {"IPCMessageSender::OnBtStateChanged"}},
                      Route{0xD8006A, {"IPCMessageSender::OnScanStatus"}},
                      Route{0xD8006B, {"IPCMessageSender::OnScanResult"}},
                      Route{0xD8007E, {"OnRecvTargertAdvCb"}},
                      Route{0xD80075, {"IPCMessageSender::ConnectServerCallback"}},
                      Route{0xD80076, {"IPCMessageSender::DisconnectServerCallback"}},
                      Route{0xD80077, {"IPCMessageSender::NotifySendCallback"}},
                      Route{0xD80078, {"IPCMessageSender::MtuChangeCallback"}},
                      Route{0xD80079, {"IPCMessageSender::OnServerReadCallback"}},
                      Route{0xD8007A, {"IPCMessageSender::OnServerWriteCallback"}},
                      Route{0xD80028, {"ErrorStatus::PostNotification"}},
                      Route{0xD80087, {"IPCMessageSender::WifiCfgCallback"}},
                      Route{0xD80088, {"IPCMessageSender::ConnNotifyCallback"}},
                      Route{0xD8008B, {"IPCMessageSender::WifiCardStateChangeCallback"}},
                      Route{0xD70008, {"IPCMessageSender::WifiConnectChannelCallback"}},
                      Route{0xD700A0, {"IPCMessageSender::ServiceStartNotifyCallback"}},
                      Route{0xD80096, {"IPCMessageSender::WifiSwitchStateChangeCallback"}}),
    [](const auto& row) { return Hex(row.param.id); });

TEST_F(SdkTest, LogsTheLengthOfAServerWrite)
{
    channel.Deliver(0xD8007A, Bytes().Zeros(1080).U32(0xFFFFFFF0).PadTo(kBufferSize));
    ASSERT_FALSE(LogLines::All().empty());
    EXPECT_EQ(LogLines::All().front(), Line(1, "len :4294967280", "OnServerWriteCallbackCb"));
}

TEST_F(SdkTest, LogsACardStateChangeAsAFailure)
{
    channel.Deliver(0xD8008B, Bytes().PadTo(kBufferSize));
    ASSERT_FALSE(LogLines::All().empty());
    EXPECT_EQ(LogLines::All().front(),
              Line(4, "WifiCardStateChangeCb enter", "WifiCardStateChangeCb"));
}

TEST_F(SdkTest, LogsAChannelNotificationAsACardStateChange)
{
    channel.Deliver(0xD70008, Bytes().PadTo(kBufferSize));
    ASSERT_FALSE(LogLines::All().empty());
    EXPECT_EQ(LogLines::All().front(),
              Line(4, "WifiCardStateChangeCb enter", "WifiConnectChannelCallbackCb"));
}

TEST_F(SdkTest, LogsAWifiSwitchNotification)
{
    channel.Deliver(0xD80096, Bytes().PadTo(kBufferSize));
    ASSERT_FALSE(LogLines::All().empty());
    EXPECT_EQ(LogLines::All().front(),
              Line(1, "PelaconSDK rcv default wifi switch msg", "WifiSwitchStateChangeCallback"));
}

TEST_F(SdkTest, TheServiceStartNotificationNeedsNoPayload)
{
    constexpr auto kReceiver = "ServiceStartNotifyCallbackCb";
    constexpr auto kHandler = "IPCMessageSender::ServiceStartNotifyCallback";
    Processes::Set({});
    channel.DeliverWithoutPayload(0xD700A0);
    const std::vector<LogLine> lines{Start(kReceiver), Start(kHandler),
                                     Line(4, "service process not exist", kHandler),
                                     Line(3,
                                          "the service has started, but what it held for this "
                                          "process is not repaired",
                                          kHandler),
                                     End(kReceiver)};
    EXPECT_EQ(LogLines::All(), lines);
    LogLines::Clear();
    channel.Deliver(0xD700A0, Bytes().I32(1));
    EXPECT_EQ(LogLines::All(), lines) << "the payload is ignored";
}

}  // namespace

}  // namespace pelacon::test
