// What all requests of WifiSystemApi share, by rows.
#include <PelaconSDK/WifiSystemApi.h>
#include <sdk/ipc/IPCMessageSender.h>
#include <sdk/ipc/SoftApListeners.h>
#include <sdk/ipc/WifiStateListeners.h>
#include <tests/sdk/WifiListener.h>
#include <tests/support/SdkTest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <future>
#include <list>
#include <ostream>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

namespace pelacon::test {

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::PrintToString;

static_assert(!std::is_default_constructible_v<WifiSystemApi>);
static_assert(!std::is_destructible_v<WifiSystemApi>);
static_assert(std::is_copy_assignable_v<WifiSystemApi>);

IdleListener& DeafOnes()
{
    static IdleListener& deaf = *new IdleListener;
    return deaf;
}

enum class Lock { kFree, kSerialised };

struct Row {
    const char* name;
    std::int32_t requestId;
    ByteVector request;
    unsigned timeoutMs;
    Lock lock;
    ByteVector reply;                   ///< of the minimum length
    std::function<std::string()> call;  ///< returns the result and all outputs as text
    std::string answered;
    std::string unanswered;
    bool aboutTheSwitch = false;  ///< logs lines of its own
};

void PrintTo(const Row& row, std::ostream* out)
{
    *out << row.name;
}

/// The call of an operation that returns a value and has no outputs.
template <typename Result>
std::function<std::string()> Returns(Result (*call)())
{
    return [call] { return PrintToString(call()); };
}
std::function<std::string()> Nothing(void (*call)())
{
    return [call] {
        call();
        return std::string("nothing");
    };
}
constexpr auto kNothing = "nothing";

std::string Quoted(const std::string& text)
{
    return PrintToString(text);
}

const ByteVector kNone;
const ByteVector kAcknowledged = Bytes().U8(0);

ByteVector TextReply(const std::string& text)
{
    return Bytes().Text(text).U8(0);
}
ByteVector PcChannels(const std::string& first, const std::string& second, std::int32_t value)
{
    return Bytes().Text(first, 255).Text(second, 257).I32(value);
}

std::vector<Row> SoftApRows()
{
    return {
        {"SystemRefreshSoftAPChannel", 14090241, kNone, 5000, Lock::kSerialised, Bytes().U8(200),
         Returns<unsigned char>([] { return Api().SystemRefreshSoftAPChannel(); }),
         PrintToString(static_cast<unsigned char>(200)),
         PrintToString(static_cast<unsigned char>(0))},
        {"SystemCreateSoftAP", 14090242, Bytes().Zeros(328), 20000, Lock::kSerialised,
         Bytes().Zeros(324).I32(-5), Returns<int>([] {
             SoftAPInfo info;
             return Api().SystemCreateSoftAP(info);
         }),
         "-5", "-1"},
        {"SystemDestroySoftAP", 14090243, Bytes().I32(-7), 20000, Lock::kSerialised,
         Bytes().I32(42),
         Returns<int>([] { return Api().SystemDestroySoftAP(static_cast<EGoPurpose>(-7)); }), "42",
         "-1"},
        {"RegistSoftApConnectStatus", 14090245, kNone, 5000, Lock::kSerialised, kAcknowledged,
         Nothing([] { Api().RegistSoftApConnectStatus(&DeafOnes()); }), kNothing, kNothing},
        {"GetSoftAPChannel", 14090246, kNone, 5000, Lock::kFree, Bytes().U8(149),
         Returns<unsigned char>([] { return Api().GetSoftAPChannel(); }),
         PrintToString(static_cast<unsigned char>(149)),
         PrintToString(static_cast<unsigned char>(0))},
        {"SetPairDeviceModelName", 14090249, Bytes().Text("Phone 9").U8(0), 5000, Lock::kFree,
         Bytes().U8(2), Returns<bool>([] { return Api().SetPairDeviceModelName("Phone 9"); }),
         "true", "false"},
        {"GetPairDeviceModelName", 14090250, kNone, 5000, Lock::kFree,
         Bytes().Text("Phone 9", 256).U8(1),
         [] {
             std::string name = "as it was";
             const bool result = Api().GetPairDeviceModelName(name);
             return PrintToString(result) + ' ' + name;
         },
         "true Phone 9", "false as it was"},
        {"GetRestartMobileHotpotFlag", 14090251, kNone, 5000, Lock::kFree, Bytes().U8(1),
         Returns<bool>([] { return Api().GetRestartMobileHotpotFlag(); }), "true", "false"},
        {"SetRestartMobileHotpotFlag", 14090252, Bytes().U8(1), 5000, Lock::kFree, kAcknowledged,
         Nothing([] { Api().SetRestartMobileHotpotFlag(true); }), kNothing, kNothing},
        {"GetLegacyAPIP", 14090267, kNone, 5000, Lock::kFree, TextReply("192.168.137.1"),
         Returns<std::string>([] { return Api().GetLegacyAPIP(); }), Quoted("192.168.137.1"),
         Quoted("")},
        {"ResetWakeUpCount", 14090268, kNone, 5000, Lock::kFree, kAcknowledged,
         Nothing([] { Api().ResetWakeUpCount(); }), kNothing, kNothing},
        {"GetWakeUpRestartCount", 14090269, kNone, 5000, Lock::kFree, Bytes().U32(0xFFFFFFFE),
         Returns<unsigned int>([] { return Api().GetWakeUpRestartCount(); }), "4294967294", "0"},
        {"GetRestartCount", 14090270, kNone, 5000, Lock::kFree, Bytes().U32(0xFFFFFFFD),
         Returns<unsigned int>([] { return Api().GetRestartCount(); }), "4294967293", "0"},
        {"RestartWiFiDirectVirtualAdapter", 14090271, Bytes().U8(1), 10000, Lock::kFree,
         Bytes().U8(0x80),
         Returns<bool>([] { return Api().RestartWiFiDirectVirtualAdapter(true); }), "true",
         "false"},
        {"GetAdapterIndex", 14090273, kNone, 5000, Lock::kFree, Bytes().U32(0xFFFFFFFC),
         Returns<unsigned long>([] { return Api().GetAdapterIndex(); }), "4294967292", "0"},
        {"GetAdapterGuid", 14090274, kNone, 5000, Lock::kFree, TextReply("{1-2}"),
         Returns<std::string>([] { return Api().GetAdapterGuid(); }), Quoted("{1-2}"), Quoted("")},
        {"CheckMySoftAPExist", 14090275, kNone, 5000, Lock::kSerialised, Bytes().U8(1),
         Returns<bool>([] { return Api().CheckMySoftAPExist(); }), "true", "false"},
        {"GetSSID", 14090276, kNone, 5000, Lock::kSerialised, TextReply("My AP"),
         Returns<std::string>([] { return Api().GetSSID(); }), Quoted("My AP"), Quoted("")},
        {"ChangeSSIDAndPasswd", 14090277, kNone, 5000, Lock::kSerialised, kAcknowledged,
         Nothing([] { Api().ChangeSSIDAndPasswd(); }), kNothing, kNothing},
        {"SetListProductType", 14090278, Bytes().Text("a,b,").U8(0), 5000, Lock::kFree,
         Bytes().U8(1), Returns<bool>([] {
             return Api().SetListProductType({"a", "b"});
         }),
         "true", "false"},
        {"GetSoftApError", 14090390, kNone, 5000, Lock::kSerialised, Bytes().I32(-2147483647),
         Returns<int>([] { return Api().GetSoftApError(); }), "-2147483647", "-1"},
        {"IsAPConnected", 14090391, kNone, 5000, Lock::kSerialised,
         Bytes().I32(-36).Text("Home", 32).U8(1),
         [] {
             int channel = 77;
             std::string ssid = "as it was";
             const bool result = Api().IsAPConnected(channel, ssid);
             return PrintToString(result) + ' ' + PrintToString(channel) + ' ' + ssid;
         },
         "true -36 Home", "false 77 as it was"},
        {"RegisterSoftApNotificationEventCallback", 14090392, kNone, 5000, Lock::kFree,
         Bytes().I32(9),
         Returns<int>([] { return Api().RegisterSoftApNotificationEventCallback(&DeafOnes()); }),
         "9", "-1"},
        {"UnRegisterSoftApNotificationEventCallback", 14090393, kNone, 5000, Lock::kFree,
         Bytes().I32(9),
         Returns<int>([] { return Api().UnRegisterSoftApNotificationEventCallback(&DeafOnes()); }),
         "9", "-1"},
    };
}

std::vector<Row> ChannelRows()
{
    return {
        {"GetPCChannelList", 14090244, kNone, 5000, Lock::kFree, PcChannels("1,6", "36", -4),
         [] {
             std::string first = "first";
             std::string second = "second";
             int third = 3;
             Api().GetPCChannelList(first, second, third);
             return first + ' ' + second + ' ' + PrintToString(third);
         },
         "1,6 36 -4", "first second 3"},
        {"SetPhoneCurrentChannel", 14090253, Bytes().I32(-2), 5000, Lock::kFree, kAcknowledged,
         Nothing([] { Api().SetPhoneCurrentChannel(-2); }), kNothing, kNothing},
        {"AddPhoneSupportChannel", 14090254, Bytes().I32(149), 5000, Lock::kFree, kAcknowledged,
         Nothing([] { Api().AddPhoneSupportChannel(149); }), kNothing, kNothing},
        {"RemovePhoneSupportChannels", 14090255, kNone, 5000, Lock::kFree, kAcknowledged,
         Nothing([] { Api().RemovePhoneSupportChannels(); }), kNothing, kNothing},
        {"CheckIsSet5GFailed", 14090256, kNone, 5000, Lock::kFree, kAcknowledged,
         Nothing([] { Api().CheckIsSet5GFailed(); }), kNothing, kNothing},
        {"AddPhoneSupport24Channel", 14090257, Bytes().I32(6), 5000, Lock::kFree, kAcknowledged,
         Nothing([] { Api().AddPhoneSupport24Channel(6); }), kNothing, kNothing},
        {"RepickChannelWithoutEffect", 14090258, Bytes().U8(1), 5000, Lock::kSerialised,
         Bytes().I32(-44), Returns<int>([] { return Api().RepickChannelWithoutEffect(true); }),
         "-44", "0"},
        {"GetFrequenceType", 14090259, Bytes().I32(36), 5000, Lock::kFree, Bytes().I32(1),
         Returns<int>([] { return int{Api().GetFrequenceType(36)}; }), "1", "-1"},
        {"GetRecordPhone24GChannelList", 14090260, kNone, 5000, Lock::kFree, TextReply("1,6"),
         Returns<std::list<int>>([] { return Api().GetRecordPhone24GChannelList(); }), "{ 1, 6 }",
         "{}"},
        {"GetRecordPhoneChannelList", 14090261, kNone, 5000, Lock::kFree, TextReply("36,40"),
         Returns<std::list<int>>([] { return Api().GetRecordPhoneChannelList(); }), "{ 36, 40 }",
         "{}"},
        {"GetPCSupportChannelList", 14090262, kNone, 5000, Lock::kFree,
         PcChannels("1,6", "36,40", 5),
         [] {
             std::list<int> first{8};
             std::list<int> second{9};
             int third = 3;
             Api().GetPCSupportChannelList(first, second, third);
             return PrintToString(first) + PrintToString(second) + PrintToString(third);
         },
         "{ 1, 6 }{ 36, 40 }5", "{ 8 }{ 9 }3"},
        {"GetRecordPhoneChannel", 14090263, kNone, 5000, Lock::kFree, Bytes().I32(-11),
         Returns<int>([] { return Api().GetRecordPhoneChannel(); }), "-11", "0"},
        {"GetPhoneChannelList", 14090264, kNone, 5000, Lock::kFree, TextReply("1,36"),
         [] {
             std::string text = "as it was";
             Api().GetPhoneChannelList(text);
             return text;
         },
         "1,36", "as it was"},
        {"Is5GChannel", 14090265, Bytes().I32(36), 5000, Lock::kFree, Bytes().U8(1),
         Returns<bool>([] { return Api().Is5GChannel(36); }), "true", "false"},
        {"Is24GChannel", 14090266, Bytes().I32(6), 5000, Lock::kFree, Bytes().U8(1),
         Returns<bool>([] { return Api().Is24GChannel(6); }), "true", "false"},
        {"GetFrequencyFromChannel", 14090272, Bytes().I32(6), 5000, Lock::kFree, Bytes().I32(2437),
         Returns<int>([] { return Api().GetFrequencyFromChannel(6); }), "2437", "0"},
        {"SetAPFrequence", 14090279, Bytes().U8(1), 5000, Lock::kSerialised, Bytes().I32(36),
         Returns<int>([] { return Api().SetAPFrequence(true); }), "36", "0"},
    };
}

std::vector<Row> StateRows()
{
    return {
        {"EnableWifi", 14090394, Bytes().U8(1), 10000, Lock::kFree, Bytes().I32(-6),
         Returns<int>([] { return int{Api().EnableWifi(true)}; }), "-6", "3", true},
        {"GetWifiState", 14090395, kNone, 5000, Lock::kFree, Bytes().I32(2),
         Returns<int>([] { return int{Api().GetWifiState()}; }), "2", "0", true},
        {"RegistWifiStateChangeCallback", 14090396, kNone, 5000, Lock::kFree, Bytes().U8(0x80),
         Returns<bool>([] { return Api().RegistWifiStateChangeCallback(&DeafOnes()); }), "true",
         "false", true},
        {"UnRegistWifiStateChangeCallback", 14090397, kNone, 5000, Lock::kFree, Bytes().U8(0x80),
         Returns<bool>([] { return Api().UnRegistWifiStateChangeCallback(&DeafOnes()); }), "true",
         "false", true},
        {"RegistWifiStateChangeCallBack", 14090247, kNone, 5000, Lock::kSerialised, Bytes().U8(0),
         Nothing([] { Api().RegistWifiStateChangeCallBack(&DeafOnes()); }), kNothing, kNothing},
    };
}

std::string Function(const Row& row)
{
    return std::string("WifiSystemApi::") + row.name;
}

/// The lines of the operation itself, without those of the registry and of time-outs.
std::vector<LogLine> OwnLines(const Row& row)
{
    std::vector<LogLine> lines;
    for (const LogLine& line : LogLines::All()) {
        if (line.text.ends_with("(" + Function(row) + ")") || line == NotStarted()) {
            lines.push_back(line);
        }
    }
    return lines;
}

std::vector<LogLine> FirstLines(const Row& row)
{
    std::vector<LogLine> lines{Start(Function(row))};
    if (row.aboutTheSwitch) {
        lines.push_back(
            Line(1, std::string("PelaconSDK Send IPC Message: ") + row.name, Function(row)));
    }
    return lines;
}

LogLine LastLine(const Row& row)
{
    return row.aboutTheSwitch
               ? Line(1, std::string("PelaconSDK Send IPC Message complete: ") + row.name,
                      Function(row))
               : End(Function(row));
}

LogLine Timeout(const Row& row)
{
    return Line(4, "IPC Message timeout:" + std::to_string(row.timeoutMs), Function(row));
}

/// Whether the operation logs a time-out, as creating and destroying do.
bool LogsTimeout(const Row& row)
{
    return row.timeoutMs == 20000;
}

class WifiSystemApiRows : public SdkTest, public ::testing::WithParamInterface<Row> {
  protected:
    void TearDown() override
    {
        Registry<SoftApListeners>().SetSoftApConnectStatus(nullptr);
        Registry<SoftApListeners>().RemoveSoftApNotificationCallback(&DeafOnes());
        Registry<WifiStateListeners>().RemoveWifiStateChangeCallback(&DeafOnes());
        SdkTest::TearDown();
    }
};
class WifiSystemApiStoppedRows : public StoppedSdkTest,
                                 public ::testing::WithParamInterface<Row> {};

TEST_P(WifiSystemApiRows, Answered)
{
    const Row& row = GetParam();
    channel.Reply(row.requestId, row.reply);
    EXPECT_EQ(row.call(), row.answered);
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(row.requestId, row.request, row.timeoutMs));
    std::vector<LogLine> lines = FirstLines(row);
    lines.push_back(LastLine(row));
    EXPECT_EQ(OwnLines(row), lines);
    EXPECT_THAT(Events::All(), IsEmpty());
}

TEST_P(WifiSystemApiRows, AnsweredWithNothing)
{
    const Row& row = GetParam();
    EXPECT_EQ(row.call(), row.unanswered);
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(row.requestId, row.request, row.timeoutMs));
    std::vector<LogLine> lines = FirstLines(row);
    if (row.aboutTheSwitch) {
        lines.push_back(Timeout(row));
    }
    if (LogsTimeout(row)) {
        lines.push_back(Line(1, std::string(row.name) + " timeout", Function(row)));
    }
    lines.push_back(NoReply(Function(row)));
    EXPECT_EQ(OwnLines(row), lines);
}

TEST_P(WifiSystemApiStoppedRows, NotStarted)
{
    const Row& row = GetParam();
    EXPECT_EQ(row.call(), row.unanswered);
    EXPECT_THAT(channel.Requests(), IsEmpty());
    std::vector<LogLine> lines = FirstLines(row);
    lines.push_back(NotStarted());
    if (row.aboutTheSwitch) {
        lines.push_back(Timeout(row));
    }
    EXPECT_EQ(OwnLines(row), lines);
    EXPECT_THAT(Events::All(), IsEmpty());
}

/// A serialised operation that is not the row's.
Row OtherThan(const Row& row)
{
    for (const Row& other : SoftApRows()) {
        if (other.lock == Lock::kSerialised && other.requestId != row.requestId) {
            return other;
        }
    }
    return row;
}

/// Waits until an operation has begun; false if it has not in time.
bool HasBegun(const Row& row)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (std::chrono::steady_clock::now() < end) {
        const std::vector<LogLine> lines = LogLines::All();
        if (std::ranges::find(lines, Start(Function(row))) != lines.end()) {
            return true;
        }
        std::this_thread::yield();
    }
    return false;
}

/// Calls an operation and, once its request is sent, another one. Returns whether the other request
/// is sent before the first one is answered.
bool GoTogether(const Row& first, const Row& second)
{
    Channel& channel = Channel::Get();
    std::promise<void> secondIsSent;
    auto sent = secondIsSent.get_future();
    channel.OnRequest(second.requestId, [&](const Sent& /*sent*/) { secondIsSent.set_value(); });
    std::thread other;
    bool together = false;
    channel.OnRequest(first.requestId, [&](const Sent& /*sent*/) {
        other = std::thread([&] { second.call(); });
        EXPECT_TRUE(HasBegun(second)) << "it logs its start before it takes the lock";
        const bool mayGo = first.lock == Lock::kFree || second.lock == Lock::kFree;
        const auto patience = mayGo ? std::chrono::seconds(10) : std::chrono::milliseconds(20);
        together = sent.wait_for(patience) == std::future_status::ready;
    });
    first.call();
    other.join();
    EXPECT_EQ(sent.wait_for(std::chrono::seconds(0)), std::future_status::ready);
    return together;
}

TEST_P(WifiSystemApiRows, SerialisedWhereMarkedAndOnlyThere)
{
    const Row& row = GetParam();
    const Row serialised = OtherThan(row);
    const bool waits = row.lock == Lock::kSerialised;
    EXPECT_EQ(GoTogether(row, serialised), !waits);
    ForgetWhatHappened();
    EXPECT_EQ(GoTogether(serialised, row), !waits);
}

std::string NameOf(const ::testing::TestParamInfo<Row>& info)
{
    return info.param.name;
}
INSTANTIATE_TEST_SUITE_P(SoftAp, WifiSystemApiRows, ::testing::ValuesIn(SoftApRows()), NameOf);
INSTANTIATE_TEST_SUITE_P(Channels, WifiSystemApiRows, ::testing::ValuesIn(ChannelRows()), NameOf);
INSTANTIATE_TEST_SUITE_P(State, WifiSystemApiRows, ::testing::ValuesIn(StateRows()), NameOf);
INSTANTIATE_TEST_SUITE_P(SoftAp, WifiSystemApiStoppedRows, ::testing::ValuesIn(SoftApRows()),
                         NameOf);
INSTANTIATE_TEST_SUITE_P(Channels, WifiSystemApiStoppedRows, ::testing::ValuesIn(ChannelRows()),
                         NameOf);
INSTANTIATE_TEST_SUITE_P(State, WifiSystemApiStoppedRows, ::testing::ValuesIn(StateRows()), NameOf);

/// Rows with a flag have a reply of 1; this is the other value.
TEST_F(SdkTest, AReplyOfZeroReturnsFalse)
{
    const ByteVector no{0};
    for (const std::int32_t id : {14090249, 14090251, 14090271, 14090275, 14090278, 14090265,
                                  14090266, 14090396, 14090397}) {
        channel.Reply(id, no);
    }
    EXPECT_FALSE(Api().SetPairDeviceModelName("x"));
    EXPECT_FALSE(Api().GetRestartMobileHotpotFlag());
    EXPECT_FALSE(Api().RestartWiFiDirectVirtualAdapter(false));
    EXPECT_EQ(channel.Requests().back().payload, no);
    EXPECT_FALSE(Api().CheckMySoftAPExist());
    EXPECT_FALSE(Api().SetListProductType({}));
    EXPECT_FALSE(Api().Is5GChannel(1));
    EXPECT_FALSE(Api().Is24GChannel(1));
    EXPECT_FALSE(Api().RegistWifiStateChangeCallback(&DeafOnes()));
    EXPECT_FALSE(Api().UnRegistWifiStateChangeCallback(&DeafOnes()));
    Api().SetRestartMobileHotpotFlag(false);
    EXPECT_EQ(channel.Requests().back().payload, no);
    Api().RepickChannelWithoutEffect(false);
    EXPECT_EQ(channel.Requests().back().payload, no);
    Api().SetAPFrequence(false);
    EXPECT_EQ(channel.Requests().back().payload, no);
    Api().EnableWifi(false);
    EXPECT_EQ(channel.Requests().back().payload, no);
}

TEST(WifiSystemApiInstance, IsOne)
{
    EXPECT_EQ(&Api(), &WifiSystemApi::GetInstance());
}

}  // namespace

}  // namespace pelacon::test
