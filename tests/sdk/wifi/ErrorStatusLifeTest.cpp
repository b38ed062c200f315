// Rare orders of events: the worker is ended while it begins, or runs when the process ends.
#include <LogHelper/KvLogger.h>
#include <PelaconSDK/WifiSystemApi.h>
#include <tests/sdk/wifi/ErrorListeners.h>
#include <tests/sdk/wifi/ErrorStatusAccess.h>
#include <tests/support/SdkTest.h>

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <future>
#include <memory>
#include <string_view>
#include <thread>

namespace pelacon::test {

namespace {

using ::testing::Contains;

/// An end that hangs fails these tests by their time limit. ThreadSanitizer would report a race
/// between the end and the worker, AddressSanitizer a worker that uses the destroyed notifier.
class ErrorStatusLife : public StoppedSdkTest {};

TEST_F(ErrorStatusLife, EndingItAtOnceNeverHangs)
{
    for (int round = 0; round < PELACON_TEST_ROUNDS; ++round) {
        const auto status = ErrorStatusAccess::Make();
        status->DestroyInstance();
        EXPECT_EQ(LogLines::All().back(), End("ErrorStatus::DestroyInstance"));
        LogLines::Clear();
        Journal::Clear();
    }
}

/// Lets two threads return from their "start" lines at the same moment, or a little apart.
class StartTogether {
  public:
    explicit StartTogether(int delay) : delay_(delay) {}

    void Line(std::wstring_view line)
    {
        const bool worker = line.find(L"start(ErrorStatus::ErrorStatus::Worker)") != line.npos;
        const bool ending = line.find(L"start(ErrorStatus::DestroyInstance)") != line.npos;
        if (!worker && !ending) {
            return;
        }
        ++arrived_;
        while (arrived_ < 2) {
            std::this_thread::yield();
        }
        for (volatile int step = 0; step < (ending ? delay_ : 0);) {
            step = step + 1;
        }
    }

  private:
    int delay_;
    std::atomic<int> arrived_{0};
};

// The worker sees that it need not end, and is about to wait: a wake-up that comes just then must
// not be lost.
TEST_F(ErrorStatusLife, EndingItWhenTheWorkerIsAboutToWaitNeverHangs)
{
    // Each round needs both threads at once, and takes long where the processor is busy.
    const auto end = std::chrono::steady_clock::now() + kPatience;
    for (int round = 0; round < PELACON_TEST_ROUNDS && std::chrono::steady_clock::now() < end;
         ++round) {
        StartTogether together(round % 200);
        KvLogger::GetInstance().SetSink(
            [&](LOG_MESSAGE_LEVEL /*level*/, std::wstring_view line) { together.Line(line); });
        const auto status = ErrorStatusAccess::Make();
        status->DestroyInstance();
        KvLogger::GetInstance().SetSink({});
        EXPECT_THAT(LogLines::All(), Contains(End("ErrorStatus::DestroyInstance")));
        LogLines::Clear();
        Journal::Clear();
    }
}

TEST_F(ErrorStatusLife, EndingItWhileThreadsPostNeverHangs)
{
    for (int round = 0; round < PELACON_TEST_ROUNDS / 20; ++round) {
        RecordingListener listener;
        const auto status = ErrorStatusAccess::Make();
        status->RegistListener(&listener);
        std::thread poster([&] {
            status->PostNotification(kConnectBleSendFail);
            status->PostNotification(kConnectGoAlreadyExist);
        });
        status->DestroyInstance();
        poster.join();
        EXPECT_THAT(LogLines::All(), Contains(End("ErrorStatus::DestroyInstance")));
        LogLines::Clear();
        Journal::Clear();
    }
}

/// What a process is doing when it ends with exit code 7.
void ExitWithTheWorkerWaiting()
{
    WifiSystemApi::GetInstance().GetErrorString(kConnectSuccess);
    std::exit(7);
}

void ExitWithTheWorkerDelivering()
{
    auto* listener = new RecordingListener;
    auto* delivering = new std::promise<void>;
    listener->meanwhile = [delivering](const ErrorDetail& /*detail*/) {
        delivering->set_value();
        std::promise<void>().get_future().wait_for(std::chrono::hours(1));
    };
    WifiSystemApi::GetInstance().RegistListener(listener);
    WifiSystemApi::GetInstance().PostNotification(kConnectBleSendFail);
    delivering->get_future().wait();
    std::exit(7);
}

void ExitWhileAThreadPosts()
{
    auto* listener = new RecordingListener;
    WifiSystemApi::GetInstance().RegistListener(listener);
    std::thread([] {
        for (int error = 0; error < 100000; ++error) {
            WifiSystemApi::GetInstance().PostNotification(kConnectBleSendFail);
        }
    }).detach();
    listener->Wait(10);
    std::exit(7);
}

void ExitAfterTheEnd()
{
    WifiSystemApi::GetInstance().DestroyInstance();
    std::exit(7);
}

class ErrorStatusExit : public ErrorStatusLife, public ::testing::WithParamInterface<void (*)()> {};

TEST_P(ErrorStatusExit, KeepsTheProcesssOwnCode)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    for (int round = 0; round < 5; ++round) {
        EXPECT_EXIT(GetParam()(), ::testing::ExitedWithCode(7), "");
    }
}

INSTANTIATE_TEST_SUITE_P(Exits, ErrorStatusExit,
                         ::testing::Values(ExitWithTheWorkerWaiting, ExitWithTheWorkerDelivering,
                                           ExitWhileAThreadPosts, ExitAfterTheEnd));

}  // namespace

}  // namespace pelacon::test
