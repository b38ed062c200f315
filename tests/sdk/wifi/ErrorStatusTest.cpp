#include <PelaconSDK/WifiSystemApi.h>
#include <tests/sdk/wifi/ErrorListeners.h>
#include <tests/sdk/wifi/ErrorStatusAccess.h>
#include <tests/support/SdkTest.h>

#include <algorithm>
#include <chrono>
#include <future>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

namespace pelacon::test {

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::UnorderedElementsAre;

constexpr auto kWorker = "ErrorStatus::ErrorStatus::Worker";
constexpr auto kOther = static_cast<ConnectErrorCode>(5);

LogLine QueueEmpty()
{
    return Line(1, "task queue empty, stop", kWorker);
}
LogLine ListenerGone()
{
    return Line(4, "listeners not found, stop", kWorker);
}

/// Lines of one function.
std::vector<LogLine> LinesOf(const std::string& function)
{
    std::vector<LogLine> lines;
    for (const LogLine& line : LogLines::All()) {
        if (line.text.ends_with("(" + function + ")")) {
            lines.push_back(line);
        }
    }
    return lines;
}

/// A notifier of the test's own.
class ErrorStatusTest : public StoppedSdkTest {
  protected:
    void SetUp() override
    {
        StoppedSdkTest::SetUp();
        status = ErrorStatusAccess::Make();
    }
    void TearDown() override
    {
        Finish();
        StoppedSdkTest::TearDown();
    }

    /// Ends the worker, which delivers what is queued first.
    void Finish()
    {
        if (!ended_) {
            ended_ = true;
            status->DestroyInstance();
        }
    }

    ErrorStatusAccess::Owned status;

  private:
    bool ended_ = false;
};

// ---- Texts

TEST_F(ErrorStatusTest, EachCodeHasItsText)
{
    EXPECT_EQ(status->GetErrorString(kConnectSuccess), "success");
    EXPECT_EQ(status->GetErrorString(static_cast<ConnectErrorCode>(0x10000001)),
              "go already exist");
    EXPECT_EQ(status->GetErrorString(static_cast<ConnectErrorCode>(0x20000000)), "ble send fail");
    for (const std::int32_t other : {5, -1, 1, 0x10000000, 0x10000002, 0x20000001}) {
        EXPECT_EQ(status->GetErrorString(static_cast<ConnectErrorCode>(other)), "unknow");
    }
}

TEST_F(ErrorStatusTest, ReadingATextIsLogged)
{
    status->GetErrorString(kOther);
    EXPECT_THAT(
        LinesOf("ErrorStatus::GetErrorString"),
        ElementsAre(Start("ErrorStatus::GetErrorString"), End("ErrorStatus::GetErrorString")));
}

// ---- Listeners

TEST_F(ErrorStatusTest, AListenerIsAddedOnce)
{
    constexpr auto kFunction = "ErrorStatus::RegistListener";
    RecordingListener listener;
    EXPECT_TRUE(status->RegistListener(&listener));
    EXPECT_THAT(LinesOf(kFunction), ElementsAre(Start(kFunction), End(kFunction)));
    LogLines::Clear();
    EXPECT_FALSE(status->RegistListener(&listener));
    EXPECT_THAT(LinesOf(kFunction),
                ElementsAre(Start(kFunction), Line(4, "listeners found", kFunction)));
    status->PostNotification(kOther);
    Finish();
    EXPECT_THAT(listener.Errors(), SizeIs(1));
}

TEST_F(ErrorStatusTest, AListenerIsRemovedOnce)
{
    constexpr auto kFunction = "ErrorStatus::UnregistListener";
    RecordingListener listener;
    status->RegistListener(&listener);
    EXPECT_TRUE(status->UnregistListener(&listener));
    EXPECT_THAT(LinesOf(kFunction), ElementsAre(Start(kFunction), End(kFunction)));
    LogLines::Clear();
    EXPECT_FALSE(status->UnregistListener(&listener));
    EXPECT_THAT(LinesOf(kFunction),
                ElementsAre(Start(kFunction), Line(4, "listeners not found", kFunction)));
    status->PostNotification(kOther);
    Finish();
    EXPECT_THAT(listener.Errors(), IsEmpty());
}

TEST_F(ErrorStatusTest, ANullListenerIsRefused)
{
    EXPECT_FALSE(status->RegistListener(nullptr));
    EXPECT_FALSE(status->UnregistListener(nullptr));
    EXPECT_THAT(LinesOf("ErrorStatus::RegistListener"),
                ElementsAre(Start("ErrorStatus::RegistListener")));
    EXPECT_THAT(LinesOf("ErrorStatus::UnregistListener"),
                ElementsAre(Start("ErrorStatus::UnregistListener")));
}

// ---- Delivery

TEST_F(ErrorStatusTest, EveryListenerReceivesEachErrorOnce)
{
    RecordingListener first;
    RecordingListener second;
    status->RegistListener(&first);
    status->RegistListener(&second);
    status->PostNotification(kConnectGoAlreadyExist);
    Finish();
    ASSERT_THAT(first.Errors(), SizeIs(1));
    ASSERT_THAT(second.Errors(), SizeIs(1));
    const ErrorDetail error = first.Errors().front();
    EXPECT_EQ(error.code, kConnectGoAlreadyExist);
    EXPECT_EQ(error.message, "go already exist");
    EXPECT_EQ(error.time, second.Errors().front().time);
    EXPECT_EQ(error.code, second.Errors().front().code);
    EXPECT_EQ(error.message, second.Errors().front().message);
}

TEST_F(ErrorStatusTest, AnErrorIsStampedInStepsOf100Nanoseconds)
{
    using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;
    const auto now = [] {
        return std::chrono::floor<Ticks>(std::chrono::system_clock::now().time_since_epoch())
            .count();
    };
    RecordingListener listener;
    status->RegistListener(&listener);
    const std::int64_t before = now();
    status->PostNotification(kOther);
    const std::int64_t after = now();
    const ErrorDetail error = listener.Wait(1).at(0);
    EXPECT_GE(error.time, before);
    EXPECT_LE(error.time, after);
    EXPECT_EQ(error.message, "unknow");
}

TEST_F(ErrorStatusTest, ErrorsArriveInTheOrderOfPosting)
{
    RecordingListener listener;
    status->RegistListener(&listener);
    std::vector<std::int32_t> posted;
    for (std::int32_t code = 1; code <= 100; ++code) {
        posted.push_back(code);
        status->PostNotification(static_cast<ConnectErrorCode>(code));
    }
    EXPECT_EQ(Codes(listener.Wait(100)), posted);
}

TEST_F(ErrorStatusTest, OneWorkerDeliversEverythingAndNeverThePoster)
{
    EXPECT_EQ(ErrorStatusAccess::Workers(*status), 1U);
    RecordingListener first;
    RecordingListener second;
    status->RegistListener(&first);
    status->RegistListener(&second);
    status->PostNotification(kOther);
    first.Wait(1);
    second.Wait(1);
    EXPECT_NE(first.Thread(), std::this_thread::get_id());
    EXPECT_EQ(first.Thread(), second.Thread());
}

TEST_F(ErrorStatusTest, PostingIsLoggedAroundTheText)
{
    status->PostNotification(kOther);
    std::vector<LogLine> lines = LogLines::All();
    std::erase_if(lines,
                  [](const LogLine& line) { return line.text.find(kWorker) != std::string::npos; });
    EXPECT_THAT(
        lines,
        ElementsAre(Start("ErrorStatus::PostNotification"), Start("ErrorStatus::GetErrorString"),
                    End("ErrorStatus::GetErrorString"), End("ErrorStatus::PostNotification")));
}

TEST_F(ErrorStatusTest, AListenerMayCallTheNotifier)
{
    RecordingListener late;
    RecordingListener early;
    RecordingListener leaving;
    early.meanwhile = [&](const ErrorDetail& detail) {
        if (detail.code == kOther) {
            EXPECT_TRUE(status->RegistListener(&late));
            EXPECT_TRUE(status->RegistListener(&leaving));
            EXPECT_TRUE(status->UnregistListener(&leaving));
            status->PostNotification(kConnectBleSendFail);
        }
    };
    status->RegistListener(&early);
    status->PostNotification(kOther);
    EXPECT_THAT(Codes(early.Wait(2)), ElementsAre(kOther, kConnectBleSendFail));
    EXPECT_THAT(Codes(late.Wait(1)), ElementsAre(kConnectBleSendFail));
    EXPECT_THAT(leaving.Errors(), IsEmpty());
}

TEST_F(ErrorStatusTest, ErrorsOfManyThreadsArriveInEachThreadsOrder)
{
    constexpr std::int32_t kThreads = 4;
    constexpr std::int32_t kErrors = 50;
    RecordingListener listener;
    RecordingListener comingAndGoing;
    status->RegistListener(&listener);
    std::vector<std::thread> threads;
    for (std::int32_t thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            for (std::int32_t error = 1; error <= kErrors; ++error) {
                status->PostNotification(static_cast<ConnectErrorCode>(thread * 1000 + error));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const std::vector<std::int32_t> errors = Codes(listener.Wait(kThreads * kErrors));
    for (std::int32_t thread = 0; thread < kThreads; ++thread) {
        std::vector<std::int32_t> ofThread;
        std::ranges::copy_if(errors, std::back_inserter(ofThread),
                             [&](std::int32_t code) { return code / 1000 == thread; });
        EXPECT_THAT(ofThread, SizeIs(kErrors));
        EXPECT_TRUE(std::ranges::is_sorted(ofThread));
    }
}

// ---- History

TEST_F(ErrorStatusTest, SuccessEmptiesTheHistory)
{
    status->PostNotification(kOther);
    status->PostNotification(kConnectBleSendFail);
    EXPECT_THAT(ErrorStatusAccess::History(*status), SizeIs(2));
    status->PostNotification(kConnectSuccess);
    const std::list<ErrorDetail> history = ErrorStatusAccess::History(*status);
    ASSERT_THAT(history, SizeIs(1));
    EXPECT_EQ(history.front().code, kConnectSuccess);
    EXPECT_EQ(history.front().message, "success");
}

TEST_F(ErrorStatusTest, TheHistoryHoldsTheLast256)
{
    for (std::int32_t code = 1; code <= 256; ++code) {
        status->PostNotification(static_cast<ConnectErrorCode>(code));
    }
    EXPECT_THAT(ErrorStatusAccess::History(*status), SizeIs(256));
    EXPECT_EQ(ErrorStatusAccess::History(*status).front().code, 1);
    status->PostNotification(static_cast<ConnectErrorCode>(257));
    EXPECT_THAT(ErrorStatusAccess::History(*status), SizeIs(256));
    EXPECT_EQ(ErrorStatusAccess::History(*status).front().code, 2);
    EXPECT_EQ(ErrorStatusAccess::History(*status).back().code, 257);
}

// ---- A listener that is removed while an error waits for delivery

/// The worker delivers a first error, and a second one waits.
class ErrorStatusWithAWaitingError : public ErrorStatusTest {
  protected:
    void SetUp() override
    {
        ErrorStatusTest::SetUp();
        listener.meanwhile = [this](const ErrorDetail& detail) {
            if (detail.code == 1) {
                delivering.set_value();
                goOn.get_future().wait();
            }
        };
        status->RegistListener(&listener);
        status->PostNotification(static_cast<ConnectErrorCode>(1));
        delivering.get_future().wait();
        status->PostNotification(static_cast<ConnectErrorCode>(2));
    }

    RecordingListener listener;
    std::promise<void> delivering;
    std::promise<void> goOn;
};

TEST_F(ErrorStatusWithAWaitingError, WithoutAListenerTheWorkerEnds)
{
    EXPECT_TRUE(status->UnregistListener(&listener));
    goOn.set_value();
    RecordingListener other;
    EXPECT_TRUE(status->RegistListener(&other));
    status->PostNotification(static_cast<ConnectErrorCode>(3));
    Finish();  // joins a worker that has ended
    EXPECT_THAT(Codes(listener.Errors()), ElementsAre(1));
    EXPECT_THAT(other.Errors(), IsEmpty());
    EXPECT_THAT(LinesOf(kWorker), ElementsAre(Start(kWorker), ListenerGone(), End(kWorker)));
    EXPECT_EQ(ErrorStatusAccess::Tasks(*status), 2U) << "the waiting errors remain queued";
}

TEST_F(ErrorStatusWithAWaitingError, AListenerThatIsRegisteredAgainReceivesIt)
{
    EXPECT_TRUE(status->UnregistListener(&listener));
    EXPECT_TRUE(status->RegistListener(&listener));
    goOn.set_value();
    EXPECT_THAT(Codes(listener.Wait(2)), ElementsAre(1, 2));
}

// ---- The end

TEST_F(ErrorStatusTest, EndsWithAnEmptyQueue)
{
    constexpr auto kFunction = "ErrorStatus::DestroyInstance";
    Finish();
    EXPECT_THAT(LinesOf(kWorker), ElementsAre(Start(kWorker), QueueEmpty(), End(kWorker)));
    EXPECT_THAT(LinesOf(kFunction), ElementsAre(Start(kFunction), End(kFunction)));
    EXPECT_EQ(LogLines::All().back(), End(kFunction)) << "only when the worker has ended";
}

TEST_F(ErrorStatusWithAWaitingError, TheEndDeliversEverythingFirst)
{
    for (std::int32_t code = 3; code <= 10; ++code) {
        status->PostNotification(static_cast<ConnectErrorCode>(code));
    }
    auto ending = std::async(std::launch::async, [this] { Finish(); });
    goOn.set_value();
    ending.get();
    EXPECT_THAT(Codes(listener.Errors()), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9, 10));
    EXPECT_THAT(LinesOf(kWorker), Contains(QueueEmpty()));
}

TEST_F(ErrorStatusTest, ErrorsPostedAfterTheEndAreDropped)
{
    RecordingListener listener;
    status->RegistListener(&listener);
    Finish();
    status->PostNotification(kOther);
    EXPECT_EQ(ErrorStatusAccess::Tasks(*status), 1U);
    EXPECT_THAT(ErrorStatusAccess::History(*status), SizeIs(1));
    EXPECT_THAT(listener.Errors(), IsEmpty());
}

TEST_F(ErrorStatusTest, ASecondEndIsAnError)
{
    Finish();
    try {
        status->DestroyInstance();
        FAIL() << "nothing was thrown";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), std::errc::invalid_argument);
    }
    EXPECT_THAT(LinesOf("ErrorStatus::DestroyInstance"), SizeIs(3))
        << "the second call throws before it ends";
}

TEST_F(ErrorStatusWithAWaitingError, ASecondEndWhileTheFirstWaitsIsAnError)
{
    auto ending = std::async(std::launch::async, [this] { Finish(); });
    const std::string function = "ErrorStatus::DestroyInstance";
    ASSERT_TRUE(Eventually([&] { return !LinesOf(function).empty(); }));
    std::atomic<int> refused{0};
    const auto end = [&] {
        try {
            status->DestroyInstance();
        } catch (const std::system_error&) {
            ++refused;
        }
    };
    // The first call may not have come as far as its wait: then one of these waits in its place.
    auto one = std::async(std::launch::async, end);
    auto other = std::async(std::launch::async, end);
    EXPECT_TRUE(Eventually([&] { return refused >= 1; })) << "at once";
    goOn.set_value();
    one.get();
    other.get();
    try {
        ending.get();
    } catch (const std::system_error&) {
        ++refused;
    }
    EXPECT_EQ(refused, 2);
}

TEST_F(ErrorStatusTest, AnEndFromInsideAListenerIsAnError)
{
    std::promise<std::error_code> thrown;
    RecordingListener listener;
    listener.meanwhile = [&](const ErrorDetail& /*detail*/) {
        try {
            status->DestroyInstance();
            thrown.set_value({});
        } catch (const std::system_error& error) {
            thrown.set_value(error.code());
        }
    };
    status->RegistListener(&listener);
    status->PostNotification(kOther);
    EXPECT_EQ(thrown.get_future().get(), std::errc::resource_deadlock_would_occur);
    Finish();
    EXPECT_THAT(listener.Errors(), SizeIs(1));
}

// ---- The process's notifier

TEST(ErrorStatusInstance, IsOne)
{
    EXPECT_EQ(ErrorStatus::GetInstance(), ErrorStatus::GetInstance());
    EXPECT_NE(ErrorStatus::GetInstance(), nullptr);
}

TEST_F(SdkTest, ErrorsOfTheServiceReachListeners)
{
    auto& listener =
        Lasting<std::unique_ptr<RecordingListener>>(std::make_unique<RecordingListener>());
    WifiSystemApi& api = WifiSystemApi::GetInstance();
    EXPECT_TRUE(api.RegistListener(listener.get()));
    EXPECT_FALSE(api.RegistListener(listener.get()));
    channel.Deliver(0xD80028, Bytes().I32(0x20000000));
    channel.DeliverWithoutPayload(0xD80028);
    channel.Deliver(0xD80028, Bytes().I32(-3).I32(77));
    api.PostNotification(kConnectGoAlreadyExist);
    EXPECT_THAT(Codes(listener->Wait(3)),
                ElementsAre(0x20000000, -3, static_cast<std::int32_t>(0x10000001)));
    EXPECT_TRUE(api.UnregistListener(listener.get()));
    EXPECT_FALSE(api.UnregistListener(listener.get()));
    EXPECT_EQ(api.GetErrorString(kConnectBleSendFail), "ble send fail");
    EXPECT_THAT(channel.Requests(), IsEmpty());
}

}  // namespace

}  // namespace pelacon::test
