// The soft AP's operations, apart from what all requests share.
#include <PelaconSDK/WifiSystemApi.h>
#include <tests/sdk/WifiListener.h>
#include <tests/support/SdkTest.h>

#include <algorithm>
#include <array>
#include <new>
#include <string>
#include <vector>

namespace pelacon::test {

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr std::int32_t kCreate = 0xD70002;
constexpr std::int32_t kDestroy = 0xD70003;
constexpr auto kCreateFunction = "WifiSystemApi::SystemCreateSoftAP";
constexpr auto kReportFunction = "VoviewDataReport::ReportApplicationInterface";

/// Whether the next allocation with new[] and std::nothrow fails.
bool failNextArray = false;

using Mac = std::array<std::uint8_t, 6>;

Mac MacOf(const SoftAPInfo& info)
{
    Mac mac{};
    std::copy(std::begin(info.mac), std::end(info.mac), mac.begin());
    return mac;
}

/// A record in which every member shows when it is changed.
SoftAPInfo Untouched()
{
    return {"ssid", "password", {9, 8, 7, 6, 5, 4}, 11, 2, "1.2.3.4", 12, 1, 99};
}

void ExpectUntouched(const SoftAPInfo& info)
{
    const SoftAPInfo before = Untouched();
    EXPECT_EQ(info.ssid, before.ssid);
    EXPECT_EQ(info.password, before.password);
    EXPECT_EQ(MacOf(info), MacOf(before));
    EXPECT_EQ(info.apByte1, before.apByte1);
    EXPECT_EQ(info.requestByte, before.requestByte);
    EXPECT_EQ(info.ipAddress, before.ipAddress);
    EXPECT_EQ(info.apByte2, before.apByte2);
    EXPECT_EQ(info.requestInt, before.requestInt);
    EXPECT_EQ(info.errorCode, before.errorCode);
}

ByteVector CreateReply(std::int32_t errorCode)
{
    return Bytes()
        .Text("My AP", 32)
        .Text("secret words", 256)
        .Raw(Counting(6))
        .Fill(2, 0xEE)
        .U8(149)
        .Fill(3, 0xEE)
        .U8(0xEE)
        .Text("192.168.137.1", 16)
        .U8(2)
        .Fill(2, 0xEE)
        .U32(0xEEEEEEEE)
        .I32(errorCode);
}

Event TimeoutEvent(std::int32_t code)
{
    return {954079014,
            {Int("ErrorCode", code), Str("Tavimo", "0.0.0.0"), Str("WifiDriver", "0.0.0.0"),
             Str("DriverApiLibVersion", "0.0.0.0")}};
}

// ---- Creating

TEST_F(SdkTest, CreatingSendsTheTwoRequestMembersOnly)
{
    SoftAPInfo info = Untouched();
    info.requestByte = 0xAB;
    info.requestInt = -2;
    Api().SystemCreateSoftAP(info);
    EXPECT_THAT(channel.OnlyRequest(),
                RequestIs(kCreate, Bytes().Zeros(300).U8(0xAB).Zeros(19).I32(-2).Zeros(4), 20000));
}

TEST_F(SdkTest, CreatingFillsTheOtherMembers)
{
    channel.Reply(kCreate, CreateReply(-77));
    SoftAPInfo info = Untouched();
    EXPECT_EQ(Api().SystemCreateSoftAP(info), -77);
    EXPECT_EQ(info.ssid, "My AP");
    EXPECT_EQ(info.password, "secret words");
    EXPECT_EQ(MacOf(info), (Mac{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(info.apByte1, 149);
    EXPECT_EQ(info.requestByte, 2) << "as it was";
    EXPECT_EQ(info.ipAddress, "192.168.137.1");
    EXPECT_EQ(info.apByte2, 2);
    EXPECT_EQ(info.requestInt, 1) << "as it was";
    EXPECT_EQ(info.errorCode, -77);
    EXPECT_THAT(Events::All(), IsEmpty());
    EXPECT_EQ(Threads::Started(), 0);
}

TEST_F(SdkTest, TextsOfASoftApEndWithTheirFields)
{
    channel.Reply(
        kCreate,
        Bytes().Fill(32, 'n').Fill(256, 'p').Zeros(13).Fill(16, '1').Fill(1, '2').Zeros(6).I32(0));
    SoftAPInfo info;
    EXPECT_EQ(Api().SystemCreateSoftAP(info), 0);
    EXPECT_EQ(info.ssid, std::string(32, 'n'));
    EXPECT_EQ(info.password, std::string(256, 'p'));
    EXPECT_EQ(info.ipAddress, std::string(16, '1'));
}

TEST_F(SdkTest, AMacThatIsNotCopiedIsLoggedAndTheRestFilled)
{
    channel.Reply(kCreate, CreateReply(0));
    Copies::FailNext();
    SoftAPInfo info = Untouched();
    EXPECT_EQ(Api().SystemCreateSoftAP(info), 0) << "the service's result, not -93";
    EXPECT_EQ(info.errorCode, 0);
    EXPECT_EQ(info.apByte1, 149);
    EXPECT_EQ(info.ssid, "My AP");
    EXPECT_EQ(info.password, "secret words");
    EXPECT_EQ(info.ipAddress, "192.168.137.1");
    EXPECT_EQ(info.apByte2, 2);
    EXPECT_EQ(MacOf(info), Mac{});
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Start(kCreateFunction),
                            Line(4, "GetMacAddress memcpy_s failed!", kCreateFunction),
                            End(kCreateFunction)));
}

// ---- Time-outs of creating and destroying

TEST_F(SdkTest, ACreationWithoutAnswerIsReported)
{
    Threads::Use(ThreadMode::kKept);
    SoftAPInfo info = Untouched();
    EXPECT_EQ(Api().SystemCreateSoftAP(info), -1);
    ExpectUntouched(info);
    EXPECT_THAT(Events::All(), ElementsAre(TimeoutEvent(6)));
    EXPECT_EQ(Threads::Started(), 1) << "the list of processes, once";
    EXPECT_THAT(
        LogLines::All(),
        ElementsAre(Start(kCreateFunction), Line(2, "[VoView]==== 954079014 ====", kReportFunction),
                    Line(2, "[VoView]ErrorCode:6", kReportFunction),
                    Line(2, "[VoView]Tavimo:0.0.0.0", kReportFunction),
                    Line(2, "[VoView]WifiDriver:0.0.0.0", kReportFunction),
                    Line(2, "[VoView]DriverApiLibVersion0.0.0.0", kReportFunction),
                    Line(1, "SystemCreateSoftAP timeout", kCreateFunction),
                    NoReply(kCreateFunction)));
    const std::vector<std::string> entries = Journal::Entries();
    const auto timeout = std::ranges::find(
        entries, "log 1 SystemCreateSoftAP timeout(WifiSystemApi::SystemCreateSoftAP)");
    ASSERT_NE(timeout, entries.end());
    EXPECT_EQ(*(timeout + 1), "thread") << "after the line, before the next";
}

TEST_F(SdkTest, TheProcessesAreListedAfterACreationWithoutAnswer)
{
    Threads::Use(ThreadMode::kAtOnce);
    SoftAPInfo info;
    Api().SystemCreateSoftAP(info);
    EXPECT_THAT(LogLines::All(),
                Contains(Line(1, "traverseProcesses, processID:77, Process Name:PelaconService",
                              "TraverseProcesses")));
}

TEST_F(SdkTest, ADestructionWithoutAnswerIsReported)
{
    constexpr auto kFunction = "WifiSystemApi::SystemDestroySoftAP";
    Threads::Use(ThreadMode::kKept);
    EXPECT_EQ(Api().SystemDestroySoftAP(kGoPurposeTransfer), -1);
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(kDestroy, Bytes().I32(1), 20000));
    EXPECT_THAT(Events::All(), ElementsAre(TimeoutEvent(7)));
    EXPECT_EQ(Threads::Started(), 1);
    EXPECT_THAT(LogLines::All(), Contains(Line(2, "[VoView]ErrorCode:7", kReportFunction)));
    EXPECT_THAT(LogLines::All(), Contains(Line(1, "SystemDestroySoftAP timeout", kFunction)));
    EXPECT_EQ(LogLines::All().back(), NoReply(kFunction));
}

TEST_F(SdkTest, ACreationWithoutAnswerFailsEvenWhereNoThreadCanBeCreated)
{
    Threads::Use(ThreadMode::kFailing);
    SoftAPInfo info = Untouched();
    EXPECT_EQ(Api().SystemCreateSoftAP(info), -1);
    ExpectUntouched(info);
    EXPECT_EQ(LogLines::All().back(), NoReply(kCreateFunction));
}

TEST_F(StoppedSdkTest, ACreationThatIsNotSentIsNotReported)
{
    SoftAPInfo info = Untouched();
    EXPECT_EQ(Api().SystemCreateSoftAP(info), -1);
    EXPECT_EQ(Api().SystemDestroySoftAP(kGoPurposeAny), -1);
    ExpectUntouched(info);
    EXPECT_THAT(Events::All(), IsEmpty());
    EXPECT_EQ(Threads::Started(), 0);
}

// ---- The list of product types

TEST_F(SdkTest, EveryProductTypeIsFollowedByAComma)
{
    constexpr std::int32_t kSetTypes = 0xD70026;
    Api().SetListProductType({"a", "b"});
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(kSetTypes, Bytes().Text("a,b,").U8(0), 5000));
    channel.ForgetSent();
    Api().SetListProductType({});
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(kSetTypes, Bytes().U8(0), 5000));
    channel.ForgetSent();
    Api().SetListProductType({"", "one, two"});
    EXPECT_THAT(channel.OnlyRequest(),
                RequestIs(kSetTypes, Bytes().Text(",one, two,").U8(0), 5000));
}

TEST_F(SdkTest, ProductTypesThatAreNotCopiedAreNotSent)
{
    constexpr auto kFunction = "WifiSystemApi::SetListProductType";
    Copies::FailNext();
    EXPECT_FALSE(Api().SetListProductType({"a"}));
    EXPECT_THAT(channel.Requests(), IsEmpty());
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Start(kFunction), Line(4, "memcpy_s failed!", kFunction)));
}

TEST_F(SdkTest, ProductTypesWithoutMemoryAreNotSent)
{
    constexpr auto kFunction = "WifiSystemApi::SetListProductType";
    failNextArray = true;
    EXPECT_FALSE(Api().SetListProductType({"a"}));
    EXPECT_THAT(channel.Requests(), IsEmpty());
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Start(kFunction), Line(4, "malloc failed", kFunction)));
}

// ---- Names

TEST_F(SdkTest, AnEmptyModelNameIsOneByte)
{
    Api().SetPairDeviceModelName("");
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(0xD70009, Bytes().U8(0), 5000));
}

TEST_F(SdkTest, AnAnswerFillsTheModelNameWhateverItsStatus)
{
    channel.Reply(0xD7000A, Bytes().Fill(256, 'm').U8(0));
    std::string name = "before";
    EXPECT_FALSE(Api().GetPairDeviceModelName(name));
    EXPECT_EQ(name, std::string(256, 'm'));
}

TEST_F(SdkTest, AnAnswerFillsTheAccessPointWhateverItsStatus)
{
    channel.Reply(0xD70097, Bytes().I32(0).Fill(32, 's').U8(0));
    int channelOfAp = 5;
    std::string ssid = "before";
    EXPECT_FALSE(Api().IsAPConnected(channelOfAp, ssid));
    EXPECT_EQ(channelOfAp, 0);
    EXPECT_EQ(ssid, std::string(32, 's'));
}

}  // namespace

}  // namespace pelacon::test

void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept
{
    if (pelacon::test::failNextArray) {
        pelacon::test::failNextArray = false;
        return nullptr;
    }
    try {
        return ::operator new[](size);
    } catch (...) {
        return nullptr;
    }
}

void operator delete[](void* memory, const std::nothrow_t& /*tag*/) noexcept
{
    ::operator delete[](memory);
}
