#include <protocol/BleManager.h>
#include <service/base/Log.h>
#include <service/core/Trace.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>
#include <string>
#include <string_view>
#include <vector>

namespace pelacon::service::tests {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

class LogTest : public testing::Test {
  protected:
    LogTest()
    {
        log::SetSink(
            [this](LogLevel /*level*/, std::string_view line) { lines_.emplace_back(line); });
    }
    ~LogTest() override
    {
        log::SetSink(nullptr);
        log::wantedLevel = LogLevel::kError;
    }

    std::vector<std::string> lines_;
};

TEST_F(LogTest, LevelsHaveNames)
{
    EXPECT_EQ(LogLevelOf("error"), LogLevel::kError);
    EXPECT_EQ(LogLevelOf("trace"), LogLevel::kTrace);
    EXPECT_EQ(LogLevelOf("loud"), std::nullopt);
}

TEST_F(LogTest, OnlyWantedLevelsAreWritten)
{
    log::wantedLevel = LogLevel::kWarning;
    log::Error("error ", 1);
    log::Warning("warning ", 2);
    log::Info("info");
    EXPECT_THAT(lines_, ElementsAre("error 1", "warning 2"));
}

TEST_F(LogTest, ALineThatThereIsNoMemoryForIsReportedWithTheNext)
{
    log::wantedLevel = LogLevel::kInfo;
    log::SetSink([](LogLevel /*level*/, std::string_view /*line*/) { throw std::bad_alloc(); });
    log::Info("no memory");
    log::SetSink(nullptr);
    testing::internal::CaptureStderr();
    log::Info("memory again");
    log::Flush(10s);
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::ContainsRegex(
                    " info: memory again\n.* warning: 1 lines of the log are missing here"));
}

TEST_F(LogTest, MessagesAreTracedByName)
{
    log::wantedLevel = LogLevel::kDebug;
    const Bytes status{5, 0, 0, 0};
    TraceRequest(3, 0xD7005C, {});
    TraceReply(3, 0xD7005C, 0, status, 12us);
    TraceReply(3, 0xD7005C, 0, {}, 12us);
    TraceReply(3, 0xD7005E, 0, Bytes{1}, 12us);
    TraceNotification(3, 0xD80062, status, true);
    TraceNotification(3, 0xD80062, status, false);
    EXPECT_THAT(lines_, ElementsAre("client 3 > BtEnable 0xD7005C, 0 bytes",
                                    "client 3 < BtEnable 0xD7005C, status 5, 4 bytes, 12 us",
                                    "client 3 < BtEnable 0xD7005C, 0 bytes, 12 us",
                                    "client 3 < IsBtEnabled 0xD7005E, 1 bytes, 12 us",
                                    "client 3 ! BtStateChanged 0xD80062, 4 bytes",
                                    "client 3 ! BtStateChanged 0xD80062, 4 bytes, not there"));
}

TEST_F(LogTest, TwoOperationsWithOneIdHaveTheirOwnNames)
{
    log::wantedLevel = LogLevel::kDebug;
    TraceRequest(1, 0xD7007D, Bytes(4));
    TraceRequest(1, 0xD7007D, {});
    TraceRequest(1, 0xD7EEEE, {});
    EXPECT_THAT(lines_, ElementsAre("client 1 > BleUnRegisterTargetAdvCallback 0xD7007D, 4 bytes",
                                    "client 1 > Vod2dGetIfaceCoexistCap 0xD7007D, 0 bytes",
                                    "client 1 > 0xD7EEEE, 0 bytes"));
}

TEST_F(LogTest, TheLowestLevelShowsTheBytes)
{
    log::wantedLevel = LogLevel::kTrace;
    TraceNotification(1, 0xD80062, Bytes{0, 255, 16, 1}, true);
    EXPECT_THAT(lines_, ElementsAre("client 1 ! BtStateChanged 0xD80062, 4 bytes: 00ff1001"));
    EXPECT_EQ(HexOf(Bytes(3, 1), 2), "0101...");
    EXPECT_EQ(HexOf({}), "");
}

TEST_F(LogTest, NothingIsTracedBelowTheWantedLevel)
{
    log::wantedLevel = LogLevel::kInfo;
    TraceRequest(3, 0xD7005C, {});
    TraceNotification(3, 0xD80062, {}, true);
    EXPECT_TRUE(lines_.empty());
}

}  // namespace
}  // namespace pelacon::service::tests
