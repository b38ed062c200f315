// The application's sink. EnvironmentOutputTest tests PELACON_LOG.
#include <LogHelper/KvLogger.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

constexpr auto kLimit = 10s;

void Log(LOG_MESSAGE_LEVEL level, const wchar_t* text)
{
    std::wstringstream line;
    line << text;
    KvLogger::GetInstance().Log(level, line);
}

class KvLoggerTest : public ::testing::Test {
  protected:
    void TearDown() override { logger.SetSink({}); }

    /// A sink that keeps its lines.
    KvLogger::Sink Keep()
    {
        return [this](LOG_MESSAGE_LEVEL level, std::wstring_view line) {
            kept.emplace_back(level, line);
        };
    }

    KvLogger& logger = KvLogger::GetInstance();
    std::vector<std::pair<int, std::wstring>> kept;
};

TEST_F(KvLoggerTest, WithoutASinkNoLineIsWanted)
{
    for (const auto level : {kLogTrace, kLogMilestone, kLogIncomplete, kLogFailure}) {
        EXPECT_FALSE(logger.IsWanted(level)) << level;
        Log(level, L"nobody");
    }
}

TEST_F(KvLoggerTest, SinkReceivesLinesFromItsLevelOn)
{
    logger.SetSink(Keep(), kLogIncomplete);
    EXPECT_FALSE(logger.IsWanted(kLogTrace));
    EXPECT_FALSE(logger.IsWanted(kLogMilestone));
    EXPECT_TRUE(logger.IsWanted(kLogIncomplete));
    EXPECT_TRUE(logger.IsWanted(kLogFailure));
    Log(kLogMilestone, L"two");
    Log(kLogIncomplete, L"three");
    Log(kLogFailure, L"four \u20AC");
    EXPECT_THAT(kept, ElementsAre(Pair(3, L"three"), Pair(4, L"four \u20AC")));
}

TEST_F(KvLoggerTest, SinkReceivesEveryLineByDefault)
{
    logger.SetSink(Keep());
    Log(kLogTrace, L"");
    EXPECT_THAT(kept, ElementsAre(Pair(1, L"")));
}

TEST_F(KvLoggerTest, RemovedSinkIsNotCalled)
{
    logger.SetSink(Keep());
    logger.SetSink({});
    EXPECT_FALSE(logger.IsWanted(kLogFailure));
    Log(kLogFailure, L"late");
    EXPECT_THAT(kept, IsEmpty());
}

TEST_F(KvLoggerTest, SinkReplacesTheOneBefore)
{
    logger.SetSink([](auto, auto) { ADD_FAILURE() << "the replaced sink"; });
    logger.SetSink(Keep(), kLogFailure);
    Log(kLogTrace, L"low");
    Log(kLogFailure, L"high");
    EXPECT_THAT(kept, ElementsAre(Pair(4, L"high")));
}

TEST_F(KvLoggerTest, SinkMayThrow)
{
    int calls = 0;
    logger.SetSink([&](auto, auto) {
        ++calls;
        throw std::runtime_error("sink");
    });
    Log(kLogTrace, L"one");
    Log(kLogTrace, L"two");
    EXPECT_EQ(calls, 2) << "the sink is still called";
}

TEST_F(KvLoggerTest, SinkThatLogsIsNotCalledAgainInsideItself)
{
    int calls = 0;
    logger.SetSink([&](auto, auto) {
        ++calls;
        Log(kLogFailure, L"from the sink");
    });
    Log(kLogTrace, L"one");
    EXPECT_EQ(calls, 1);
}

TEST_F(KvLoggerTest, SinkMayReplaceItself)
{
    logger.SetSink([&](auto, auto) { logger.SetSink(Keep()); });
    Log(kLogTrace, L"one");
    Log(kLogTrace, L"two");
    EXPECT_THAT(kept, ElementsAre(Pair(1, L"two")));
}

TEST_F(KvLoggerTest, ReplacingASinkWaitsForItsLastCall)
{
    std::promise<void> entered;
    std::promise<void> leave;
    std::atomic<bool> ended{false};
    logger.SetSink([&](auto, auto) {
        entered.set_value();
        EXPECT_EQ(leave.get_future().wait_for(kLimit), std::future_status::ready);
        ended = true;
    });
    std::thread caller([] { Log(kLogTrace, L"one"); });
    ASSERT_EQ(entered.get_future().wait_for(kLimit), std::future_status::ready);
    std::future<bool> replaced = std::async(std::launch::async, [&] {
        logger.SetSink({});
        return ended.load();
    });
    EXPECT_EQ(replaced.wait_for(50ms), std::future_status::timeout) << "the call is running";
    leave.set_value();
    EXPECT_TRUE(replaced.get());
    caller.join();
}

TEST_F(KvLoggerTest, SinkIsCalledOnSeveralThreadsAtOnce)
{
    constexpr int kThreads = 4;
    std::atomic<int> inside{0};
    std::promise<void> all;
    std::shared_future<void> allInside = all.get_future().share();
    logger.SetSink([&](auto, auto) {
        if (++inside == kThreads) {
            all.set_value();
        }
        EXPECT_EQ(allInside.wait_for(kLimit), std::future_status::ready);
    });
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([] { Log(kLogTrace, L"together"); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

/// The owner of a sink, destroyed as soon as the sink was removed: AddressSanitizer reports later
/// calls.
TEST_F(KvLoggerTest, SinksMayBeReplacedWhileLinesAreWritten)
{
    std::atomic<bool> stop{false};
    constexpr int kWriters = 3;
    std::vector<std::thread> writers;
    writers.reserve(kWriters);
    for (int writer = 0; writer < kWriters; ++writer) {
        writers.emplace_back([&] {
            while (!stop) {
                Log(kLogFailure, L"line");
            }
        });
    }
    for (int round = 0; round < 300; ++round) {
        auto count = std::make_unique<std::atomic<int>>(0);
        logger.SetSink([owned = count.get()](auto, auto) { ++*owned; });
        logger.SetSink({});
        // A call after this would also use freed memory, which AddressSanitizer reports.
        const int calls = *count;
        std::this_thread::yield();
        EXPECT_EQ(*count, calls);
    }
    stop = true;
    for (std::thread& writer : writers) {
        writer.join();
    }
}

TEST_F(KvLoggerTest, SeveralThreadsMaySetSinkAndLevel)
{
    for (int round = 0; round < 300; ++round) {
        std::thread other([&] { logger.SetSink({}); });
        logger.SetSink(Keep(), kLogMilestone);
        other.join();
        kept.clear();
        const bool wanted = logger.IsWanted(kLogMilestone);
        Log(kLogMilestone, L"line");
        ASSERT_EQ(kept.size(), wanted ? 1U : 0U) << "the last setting applies to both";
    }
}

}  // namespace
