#include <PelaconSDK/BleManager.h>
#include <tests/support/SdkTest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace pelacon::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::uint64_t kAddress = 0x0000A1B2C3D4E5F6;

ByteVector MacAndName(std::uint64_t mac, const std::string& name, std::int32_t status)
{
    return Bytes().U64(mac).Text(name, 64).I32(status);
}

ByteVector Name(const std::string& name, std::int32_t status)
{
    return Bytes().Text(name, 64).I32(status);
}

// ---- What all members share, by rows.

struct Member {
    const char* name;
    std::function<int()> call;
    std::int32_t requestId;
    ByteVector request;
    ByteVector reply;  ///< status 42, or the flag 1
    int result;        ///< for that reply
    int notSent;       ///< while the library is not started
    int noReply;       ///< for an answer without payload
    bool logsNotSent;  ///< whether it then writes a level-4 line of its own
};

void PrintTo(const Member& member, std::ostream* out)
{
    *out << member.name;
}

BtManagerCallbacksC& UnusedTable()
{
    static BtManagerCallbacksC table{};
    return table;
}

std::vector<Member> Members()
{
    static BtInfo info;
    return {
        {"RegisterBtStateChangeCallbacks",
         [] { return BleManager::RegisterBtStateChangeCallbacks(&UnusedTable()); },
         0xD7005A,
         {},
         Bytes().I32(42),
         42,
         -1,
         -9,
         false},
        {"BtEnable",
         [] { return BleManager::BtEnable(); },
         0xD7005C,
         {},
         Bytes().I32(42),
         42,
         -1,
         -9,
         false},
        {"BtDisable",
         [] { return BleManager::BtDisable(); },
         0xD7005D,
         {},
         Bytes().I32(42),
         42,
         -1,
         -9,
         false},
        {"IsBtEnabled",
         [] { return int{BleManager::IsBtEnabled()}; },
         0xD7005E,
         {},
         Bytes().U8(0x80),
         1,
         0,
         0,
         false},
        {"GetBtRunningState",
         [] { return BleManager::GetBtRunningState(); },
         0xD70063,
         {},
         Bytes().I32(42),
         42,
         -1,
         -1,
         true},
        {"GetBtMacAndName",
         [] { return BleManager::GetBtMacAndName(&info); },
         0xD7005F,
         {},
         MacAndName(1, "x", 42),
         42,
         -1,
         -9,
         false},
        {"SetBtName", [] { return BleManager::SetBtName("tree"); }, 0xD70060,
         Bytes().Text("tree").U8(0), Bytes().I32(42), 42, -1, -9, false},
        {"GetBtName",
         [] {
             std::string name;
             return BleManager::GetBtName(name);
         },
         0xD70061,
         {},
         Name("x", 42),
         42,
         -1,
         -9,
         false},
        {"IsDeviceConnected",
         [] { return BleManager::IsDeviceConnected(kAddress, static_cast<BluetoothType>(5)); },
         0xD700AA, Bytes().I32(5).Zeros(4).U64(kAddress), Bytes().I32(42), 42, -1, -1, true},
    };
}

std::string Function(const Member& member)
{
    return std::string("BleManager::") + member.name;
}

class BleManagerMembers : public SdkTest, public ::testing::WithParamInterface<Member> {};

TEST_P(BleManagerMembers, Answered)
{
    const Member& member = GetParam();
    channel.Reply(member.requestId, member.reply);
    EXPECT_EQ(member.call(), member.result);
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(member.requestId, member.request, 10000));
    EXPECT_THAT(LogLines::All(), ElementsAre(Start(Function(member)), End(Function(member))));
    EXPECT_THAT(Events::All(), IsEmpty());
}

TEST_P(BleManagerMembers, AnsweredWithNothing)
{
    const Member& member = GetParam();
    EXPECT_EQ(member.call(), member.noReply);
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(member.requestId, member.request, 10000));
    std::vector<LogLine> lines = LogLines::All();
    std::erase_if(lines, [](const LogLine& line) { return line.level == 2; });  // an event's
    EXPECT_THAT(lines, ElementsAre(Start(Function(member)), NoReply(Function(member))));
}

INSTANTIATE_TEST_SUITE_P(Started, BleManagerMembers, ::testing::ValuesIn(Members()),
                         [](const auto& row) { return row.param.name; });

class BleManagerMembersStopped : public StoppedSdkTest,
                                 public ::testing::WithParamInterface<Member> {};

TEST_P(BleManagerMembersStopped, Refused)
{
    const Member& member = GetParam();
    EXPECT_EQ(member.call(), member.notSent);
    const std::vector<LogLine> lines = LogLines::All();
    ASSERT_EQ(lines.size(), member.logsNotSent ? 3U : 2U);
    EXPECT_EQ(lines[0], Start(Function(member)));
    EXPECT_EQ(lines[1], NotStarted());
    if (member.logsNotSent) {
        EXPECT_EQ(lines[2].level, 4);
        EXPECT_THAT(lines[2].text, ::testing::EndsWith("(" + Function(member) + ")"));
    }
    EXPECT_THAT(Events::All(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Stopped, BleManagerMembersStopped, ::testing::ValuesIn(Members()),
                         [](const auto& row) { return row.param.name; });

TEST_F(SdkTest, BleManagerStatusesPassThrough)
{
    for (const std::int32_t status : {0, 1, -1, -9, -10000, 2147483647, -2147483647 - 1}) {
        channel.Reply(0xD7005C, Bytes().I32(status));
        EXPECT_EQ(BleManager::BtEnable(), status);
        channel.Reply(0xD70063, Bytes().I32(status));
        EXPECT_EQ(BleManager::GetBtRunningState(), status);
        channel.Reply(0xD700AA, Bytes().I32(status));
        EXPECT_EQ(BleManager::IsDeviceConnected(1, kBluetoothLe), status);
    }
}

// ---- IsBtEnabled

TEST_F(SdkTest, IsBtEnabledReadsOneByte)
{
    channel.Reply(0xD7005E, Bytes().U8(0));
    EXPECT_FALSE(BleManager::IsBtEnabled());
    channel.Reply(0xD7005E, Bytes().U8(0).U8(1));
    EXPECT_FALSE(BleManager::IsBtEnabled()) << "only the first byte counts";
    channel.Reply(0xD7005E, Bytes().U8(1));
    EXPECT_TRUE(BleManager::IsBtEnabled());
    channel.Reply(0xD7005E, Bytes().U8(255));
    EXPECT_TRUE(BleManager::IsBtEnabled());
}

// ---- GetBtMacAndName

TEST_F(SdkTest, GetBtMacAndNameFillsTheRecord)
{
    channel.Reply(0xD7005F, MacAndName(kAddress, "workbench", 0));
    BtInfo info;
    std::memset(&info, 0x5A, sizeof info);
    EXPECT_EQ(BleManager::GetBtMacAndName(&info), 0);
    EXPECT_EQ(info.mac, kAddress);
    EXPECT_EQ(ByteVector(info.name, info.name + 64), ByteVector(Bytes().Text("workbench", 64)));
}

TEST_F(SdkTest, GetBtMacAndNameAcceptsANameOfTheWholeField)
{
    const std::string name(64, 'n');
    channel.Reply(0xD7005F, MacAndName(1, name, 0));
    BtInfo info{};
    EXPECT_EQ(BleManager::GetBtMacAndName(&info), 0);
    EXPECT_EQ(std::string(info.name, 64), name);
}

TEST_F(SdkTest, GetBtMacAndNameFillsTheRecordWhateverTheStatus)
{
    channel.Reply(0xD7005F, MacAndName(7, "seven", 3));
    BtInfo info{};
    EXPECT_EQ(BleManager::GetBtMacAndName(&info), 3);
    EXPECT_EQ(info.mac, 7U);
    EXPECT_STREQ(info.name, "seven");
}

TEST_F(SdkTest, GetBtMacAndNameWhoseCopyFails)
{
    channel.Reply(0xD7005F, MacAndName(kAddress, "name", 0));
    Copies::FailNext();
    BtInfo info{};
    EXPECT_EQ(BleManager::GetBtMacAndName(&info), -10);
    constexpr auto kFunction = "BleManager::GetBtMacAndName";
    EXPECT_THAT(
        LogLines::All(),
        ElementsAre(Start(kFunction), Line(4, "memcpy_s failed!", kFunction), End(kFunction)));
    EXPECT_THAT(Events::All(), IsEmpty());
}

TEST_F(SdkTest, GetBtMacAndNameWithoutReplyReportsAnEvent)
{
    constexpr auto kFunction = "BleManager::GetBtMacAndName";
    BtInfo info;
    std::memset(&info, 0x5A, sizeof info);
    EXPECT_EQ(BleManager::GetBtMacAndName(&info), -9);
    EXPECT_THAT(Events::All(),
                ElementsAre(Event{954082006, {Int("EventType", 1), Int("ErrorCode", 3)}}));
    EXPECT_THAT(
        LogLines::All(),
        ElementsAre(
            Start(kFunction),
            Line(2, "[VoView]EventType: 1-getBtMacNameFail ,ErrorCode: 3-ipc timeout", kFunction),
            NoReply(kFunction)));
    EXPECT_EQ(info.mac, 0x5A5A5A5A5A5A5A5A) << "the record is unchanged";
}

TEST_F(SdkTest, GetBtMacAndNameRefusesNull)
{
    EXPECT_EQ(BleManager::GetBtMacAndName(nullptr), -1);
    EXPECT_THAT(channel.Requests(), IsEmpty());
    EXPECT_THAT(Events::All(), IsEmpty());
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Start("BleManager::GetBtMacAndName"),
                            Line(3, "info is nullptr, return", "BleManager::GetBtMacAndName")));
}

// ---- SetBtName and GetBtName

TEST_F(SdkTest, SetBtNameOfSixtyFourCharacters)
{
    const std::string name(64, 'x');
    channel.Reply(0xD70060, Bytes().I32(0));
    EXPECT_EQ(BleManager::SetBtName(name), 0);
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(0xD70060, Bytes().Text(name).U8(0), 10000));
    EXPECT_EQ(channel.OnlyRequest().item.length, 65U);
}

TEST_F(SdkTest, SetBtNameOfSixtyFiveCharactersIsRefused)
{
    channel.Reply(0xD70060, Bytes().I32(0));
    EXPECT_EQ(BleManager::SetBtName(std::string(65, 'x')), -1);
    EXPECT_THAT(channel.Requests(), IsEmpty());
    ASSERT_EQ(LogLines::All().size(), 2U);
    EXPECT_EQ(LogLines::All()[0], Start("BleManager::SetBtName"));
    EXPECT_EQ(LogLines::All()[1].level, 4);
}

TEST_F(SdkTest, SetBtNameOfNoCharacters)
{
    channel.Reply(0xD70060, Bytes().I32(0));
    EXPECT_EQ(BleManager::SetBtName(""), 0);
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(0xD70060, Bytes().U8(0), 10000));
}

TEST_F(SdkTest, GetBtNameAssignsOnlyOnSuccess)
{
    std::string name = "before";
    channel.Reply(0xD70061, Name("after", 5));
    EXPECT_EQ(BleManager::GetBtName(name), 5);
    EXPECT_EQ(name, "before");
    EXPECT_EQ(BleManager::GetBtName(name), 5);
    channel.ReplyNothing(0xD70061);
    EXPECT_EQ(BleManager::GetBtName(name), -9);
    EXPECT_EQ(name, "before");
    channel.Reply(0xD70061, Name("after", 0));
    EXPECT_EQ(BleManager::GetBtName(name), 0);
    EXPECT_EQ(name, "after");
}

TEST_F(SdkTest, GetBtNameWithoutANulEndsAtItsField)
{
    // The status behind the field has no zero byte either, so a read beyond the field would show.
    channel.Reply(0xD70061, Bytes().Text(std::string(64, 'y')).I32(0));
    std::string name;
    EXPECT_EQ(BleManager::GetBtName(name), 0);
    EXPECT_EQ(name, std::string(64, 'y'));
}

}  // namespace

}  // namespace pelacon::test
