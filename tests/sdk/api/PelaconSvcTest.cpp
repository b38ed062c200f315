#include <PelaconSDK/BleManager.h>
#include <PelaconSDK/PelaconSvc.h>
#include <tests/support/SdkTest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <string>
#include <thread>
#include <vector>

namespace pelacon::test {

namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr std::int32_t kBtEnable = 0xD7005C;
constexpr std::int32_t kBtStateChanged = 0xD80062;
constexpr auto kLimit = 10s;

std::vector<std::string> JournalWithoutRegistrations()
{
    std::vector<std::string> journal = Journal::Entries();
    std::erase_if(journal, [](const std::string& entry) { return entry.starts_with("register"); });
    return journal;
}

/// Returns once the journal has this entry; fails the test when that takes too long.
void WaitForEntry(const std::string& entry)
{
    const auto end = std::chrono::steady_clock::now() + kLimit;
    for (std::vector<std::string> journal = Journal::Entries();
         std::find(journal.begin(), journal.end(), entry) == journal.end();
         journal = Journal::Entries()) {
        ASSERT_LT(std::chrono::steady_clock::now(), end) << "no " << entry;
        std::this_thread::yield();
    }
}

TEST_F(StoppedSdkTest, Start)
{
    EXPECT_EQ(PelaconSvcStart(), 0);
    EXPECT_THAT(JournalWithoutRegistrations(),
                ElementsAre("log 2 Init start!(PelaconSvcStart)", "construct",
                            "log 1 start(IPCMessageSender::SetIPCMessageSender)",
                            "log 1 end(IPCMessageSender::SetIPCMessageSender)",
                            "log 1 reg start notify(RegIpcMessage)", "log 1 succ(Init)"));
    EXPECT_EQ(Journal::Entries().size(), 6U + 26U);
}

TEST_F(StoppedSdkTest, StartMakesTheClientOfTheServicePipe)
{
    PelaconSvcStart();
    ASSERT_THAT(channel.Constructions(), SizeIs(1));
    const Channel::Construction construction = channel.Constructions().front();
    EXPECT_EQ(construction.moduleId, 0xD80000);
    EXPECT_FALSE(construction.reserved1);
    EXPECT_FALSE(construction.reserved2);
    EXPECT_EQ(construction.pipeName, L"\\\\.\\Pipe\\KvPelaconService");
}

TEST_F(StoppedSdkTest, StartTwiceRegistersOnce)
{
    EXPECT_EQ(PelaconSvcStart(), 0);
    ForgetWhatHappened();
    EXPECT_EQ(PelaconSvcStart(), 0);
    EXPECT_THAT(Journal::Entries(), ElementsAre("log 2 Init start!(PelaconSvcStart)"));
    EXPECT_THAT(channel.Constructions(), SizeIs(1));
    EXPECT_THAT(channel.Registrations(), SizeIs(26));
}

TEST_F(StoppedSdkTest, StartThatFailsLeavesTheLibraryStopped)
{
    channel.FailNextConstruction();
    EXPECT_EQ(PelaconSvcStart(), -1);
    EXPECT_THAT(
        LogLines::All(),
        ElementsAre(
            Line(2, "Init start!", "PelaconSvcStart"),
            Line(1,
                 "IPCMessageClient: no thread: " +
                     std::make_error_code(std::errc::resource_unavailable_try_again).message(),
                 "Init"),
            Line(4, "g_pelaconSdkIPCSender  nullptr", "Init"),
            Line(4, "Init failed!", "PelaconSvcStart")));
    EXPECT_THAT(channel.Registrations(), IsEmpty());

    ForgetWhatHappened();
    EXPECT_EQ(BleManager::BtEnable(), -1);
    EXPECT_THAT(LogLines::All(), ElementsAre(Start("BleManager::BtEnable"), NotStarted()));

    EXPECT_EQ(PelaconSvcStart(), 0) << "it can be started later";
    channel.Reply(kBtEnable, Bytes().I32(0));
    EXPECT_EQ(BleManager::BtEnable(), 0);
}

TEST_F(StoppedSdkTest, StartThatRunsOutOfMemoryLeavesTheLibraryStopped)
{
    channel.FailNextRegistration();
    EXPECT_EQ(PelaconSvcStart(), -1);
    EXPECT_EQ(LogLines::All().back(), Line(4, "Init failed!", "PelaconSvcStart"));
    EXPECT_EQ(channel.Destructions(), 1);
    EXPECT_EQ(BleManager::BtEnable(), -1);
    EXPECT_EQ(PelaconSvcStart(), 0);
    EXPECT_THAT(channel.Constructions(), SizeIs(2));
}

TEST_F(StoppedSdkTest, StopWithoutStart)
{
    EXPECT_EQ(PelaconSvcStop(), 0);
    EXPECT_THAT(Journal::Entries(),
                ElementsAre("log 2 Uninit start!(PelaconSvcStop)", "log 2 Enter!(Uninit)"));
}

TEST_F(SdkTest, Stop)
{
    EXPECT_EQ(PelaconSvcStop(), 0);
    EXPECT_THAT(Journal::Entries(),
                ElementsAre("log 2 Uninit start!(PelaconSvcStop)", "log 2 Enter!(Uninit)",
                            "unregister all", "destroy"));
    ForgetWhatHappened();
    EXPECT_EQ(PelaconSvcStop(), 0);
    EXPECT_THAT(Journal::Entries(),
                ElementsAre("log 2 Uninit start!(PelaconSvcStop)", "log 2 Enter!(Uninit)"));
}

TEST_F(SdkTest, RequestsAfterStopAreRefused)
{
    channel.Reply(kBtEnable, Bytes().I32(0));
    EXPECT_EQ(BleManager::BtEnable(), 0);
    PelaconSvcStop();
    ForgetWhatHappened();
    EXPECT_EQ(BleManager::BtEnable(), -1);
    EXPECT_THAT(channel.Requests(), IsEmpty());
    EXPECT_THAT(LogLines::All(), ElementsAre(Start("BleManager::BtEnable"), NotStarted()));
}

TEST_F(SdkTest, EachStartMakesANewClient)
{
    channel.Reply(kBtEnable, Bytes().I32(0));
    for (int round = 1; round <= 3; ++round) {
        PelaconSvcStop();
        EXPECT_EQ(channel.Destructions(), round);
        EXPECT_EQ(PelaconSvcStart(), 0);
        EXPECT_THAT(channel.Constructions(), SizeIs(round + 1));
        EXPECT_THAT(channel.Registrations(), SizeIs(26));
        EXPECT_EQ(BleManager::BtEnable(), 0);
    }
}

TEST_F(SdkTest, RequestsAreRefusedFromTheMomentThatStopUnregisters)
{
    channel.Reply(kBtEnable, Bytes().I32(0));
    BleStatusC duringStop = kBleStatusSuccess;
    channel.OnUnregister([&] { duringStop = BleManager::BtEnable(); });
    PelaconSvcStop();
    EXPECT_EQ(duringStop, -1);
    EXPECT_THAT(channel.Requests(), IsEmpty());
}

TEST_F(SdkTest, StopWaitsForTheRequestsThatItEnds)
{
    std::promise<void> inRequest;
    std::promise<void> unregistered;
    channel.OnRequest(kBtEnable, [&](const Sent&) {
        inRequest.set_value();
        EXPECT_EQ(unregistered.get_future().wait_for(kLimit), std::future_status::ready);
        Journal::Note("request ends");
    });
    channel.OnUnregister([&] { unregistered.set_value(); });
    std::future<BleStatusC> caller =
        std::async(std::launch::async, [] { return BleManager::BtEnable(); });
    ASSERT_EQ(inRequest.get_future().wait_for(kLimit), std::future_status::ready);
    EXPECT_EQ(PelaconSvcStop(), 0);
    EXPECT_EQ(caller.get(), kBleStatusNoReply) << "it was sent, and not answered";

    std::vector<std::string> journal = Journal::Entries();
    std::erase_if(journal, [](const std::string& entry) { return entry.starts_with("log"); });
    EXPECT_THAT(journal,
                ElementsAre("request 0xD7005C", "unregister all", "request ends", "destroy"));
}

TEST_F(SdkTest, StopInsideACallback)
{
    auto& table = Lasting<BtManagerCallbacksC>({[](int32_t) {
        EXPECT_EQ(PelaconSvcStop(), 0);
        Journal::Note("stopped");
    }});
    channel.Reply(0xD7005A, Bytes().I32(0));
    ASSERT_EQ(BleManager::RegisterBtStateChangeCallbacks(&table), 0);
    channel.Deliver(kBtStateChanged, Bytes().I32(1));
    EXPECT_EQ(channel.Destructions(), 1);
    EXPECT_EQ(Journal::Entries().back(), "log 1 end(IPCMessageSender::OnBtStateChanged)");
    EXPECT_EQ(BleManager::BtEnable(), -1);
    BleManager::UnRegisterBtStateChangeCallbacks(&table);
}

TEST_F(SdkTest, RequestInsideACallback)
{
    auto& table =
        Lasting<BtManagerCallbacksC>({[](int32_t) { EXPECT_EQ(BleManager::BtEnable(), 6); }});
    channel.Reply(0xD7005A, Bytes().I32(0));
    channel.Reply(kBtEnable, Bytes().I32(6));
    ASSERT_EQ(BleManager::RegisterBtStateChangeCallbacks(&table), 0);
    channel.ForgetSent();
    channel.Deliver(kBtStateChanged, Bytes().I32(1));
    EXPECT_THAT(channel.Requests(), SizeIs(1));
    BleManager::UnRegisterBtStateChangeCallbacks(&table);
}

TEST_F(StoppedSdkTest, StartsOfManyThreadsMakeOneClient)
{
    constexpr std::size_t kThreads = 4;
    for (int round = 0; round < 200; ++round) {
        channel.Reset();
        std::promise<void> go;
        const std::shared_future<void> started(go.get_future());
        std::vector<std::thread> starters;
        for (std::size_t starter = 0; starter < kThreads; ++starter) {
            starters.emplace_back([&] {
                started.wait();
                EXPECT_EQ(PelaconSvcStart(), 0);
            });
        }
        go.set_value();
        for (std::thread& starter : starters) {
            starter.join();
        }
        ASSERT_THAT(channel.Constructions(), SizeIs(1));
        ASSERT_THAT(channel.Registrations(), SizeIs(26));
        EXPECT_EQ(PelaconSvcStop(), 0);
        ASSERT_EQ(channel.Destructions(), 1);
        ForgetWhatHappened();
    }
}

TEST_F(StoppedSdkTest, StopsAndStartsOfManyThreadsLeaveNoClientBehind)
{
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([thread] {
            for (int round = 0; round < 300; ++round) {
                EXPECT_EQ((round + thread) % 2 == 0 ? PelaconSvcStart() : PelaconSvcStop(), 0);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(PelaconSvcStop(), 0);
    EXPECT_THAT(channel.Constructions(), SizeIs(channel.Destructions()));
    EXPECT_EQ(BleManager::BtEnable(), -1);
}

TEST_F(StoppedSdkTest, StopDuringAStartStopsWhatWasStarted)
{
    std::promise<void> starting;
    std::promise<void> go;
    channel.OnConstruct([&] {
        starting.set_value();
        EXPECT_EQ(go.get_future().wait_for(kLimit), std::future_status::ready);
    });
    std::thread starter([] { EXPECT_EQ(PelaconSvcStart(), 0); });
    ASSERT_EQ(starting.get_future().wait_for(kLimit), std::future_status::ready);
    std::thread stopper([] { EXPECT_EQ(PelaconSvcStop(), 0); });
    WaitForEntry("log 2 Enter!(Uninit)");
    go.set_value();
    starter.join();
    stopper.join();
    EXPECT_EQ(channel.Destructions(), 1);
    EXPECT_EQ(BleManager::BtEnable(), -1);
}

TEST_F(SdkTest, StartDuringAStopStartsAgain)
{
    channel.Reply(kBtEnable, Bytes().I32(0));
    std::promise<void> stopping;
    std::promise<void> go;
    channel.OnUnregister([&] {
        stopping.set_value();
        EXPECT_EQ(go.get_future().wait_for(kLimit), std::future_status::ready);
    });
    std::thread stopper([] { EXPECT_EQ(PelaconSvcStop(), 0); });
    ASSERT_EQ(stopping.get_future().wait_for(kLimit), std::future_status::ready);
    channel.OnUnregister(nullptr);
    std::future<int> start = std::async(std::launch::async, PelaconSvcStart);
    go.set_value();
    stopper.join();
    ASSERT_EQ(start.wait_for(kLimit), std::future_status::ready);
    EXPECT_EQ(start.get(), 0);
    EXPECT_THAT(channel.Constructions(), SizeIs(2));
    EXPECT_EQ(channel.Destructions(), 1);
    EXPECT_EQ(BleManager::BtEnable(), 0);
}

TEST_F(SdkTest, ACallbackThatAStopWaitsForMayStartAndStop)
{
    static std::promise<void>& inCallback = *new std::promise<void>;
    static std::promise<void>& stopping = *new std::promise<void>;
    auto& table = Lasting<BtManagerCallbacksC>({[](int32_t) {
        inCallback.set_value();
        EXPECT_EQ(stopping.get_future().wait_for(kLimit), std::future_status::ready);
        EXPECT_EQ(PelaconSvcStart(), 0);
        EXPECT_EQ(PelaconSvcStop(), 0);
        EXPECT_EQ(PelaconSvcStart(), 0);
    }});
    channel.Reply(0xD7005A, Bytes().I32(0));
    ASSERT_EQ(BleManager::RegisterBtStateChangeCallbacks(&table), 0);
    std::thread receiver([&] { channel.Deliver(kBtStateChanged, Bytes().I32(1)); });
    ASSERT_EQ(inCallback.get_future().wait_for(kLimit), std::future_status::ready);
    channel.OnUnregister([&] {
        stopping.set_value();
        receiver.join();  // as the real client waits for the receive thread
    });
    EXPECT_EQ(PelaconSvcStop(), 0);
    EXPECT_THAT(channel.Constructions(), SizeIs(1)) << "no client that the stop would leave behind";
    EXPECT_EQ(channel.Destructions(), 1);
    EXPECT_EQ(BleManager::BtEnable(), -1);
    BleManager::UnRegisterBtStateChangeCallbacks(&table);
}

TEST_F(SdkTest, StopAndStartOfTheStoppingThreadChangeNothing)
{
    channel.OnUnregister([&] {
        EXPECT_EQ(PelaconSvcStop(), 0);
        EXPECT_EQ(PelaconSvcStart(), 0);
    });
    EXPECT_EQ(PelaconSvcStop(), 0);
    EXPECT_THAT(channel.Constructions(), SizeIs(1)) << "no client that the stop would leave behind";
    EXPECT_EQ(channel.Destructions(), 1);
    channel.OnUnregister(nullptr);

    EXPECT_EQ(BleManager::BtEnable(), -1);
    EXPECT_EQ(PelaconSvcStart(), 0);
    EXPECT_THAT(channel.Constructions(), SizeIs(2));
}

TEST_F(SdkTest, StopWhileManyThreadsSendRequests)
{
    constexpr std::size_t kThreads = 4;
    channel.Reply(kBtEnable, Bytes().I32(0));
    std::atomic<int> requests{0};
    std::promise<void> busy;
    channel.OnRequest(kBtEnable, [&](const Sent&) {
        if (++requests == 20) {
            busy.set_value();
        }
    });
    std::vector<std::thread> callers;
    callers.reserve(kThreads);
    for (std::size_t caller = 0; caller < kThreads; ++caller) {
        callers.emplace_back([] {
            const auto end = std::chrono::steady_clock::now() + kLimit;
            BleStatusC status = kBleStatusSuccess;
            while (status == kBleStatusSuccess && std::chrono::steady_clock::now() < end) {
                status = BleManager::BtEnable();
            }
            // A request that is running when the library stops gets no answer.
            EXPECT_TRUE(status == kBleStatusFailed || status == kBleStatusNoReply) << status;
        });
    }
    EXPECT_EQ(busy.get_future().wait_for(kLimit), std::future_status::ready);
    EXPECT_EQ(PelaconSvcStop(), 0);
    EXPECT_EQ(channel.Destructions(), 1);
    for (std::thread& caller : callers) {
        caller.join();
    }
}

}  // namespace

}  // namespace pelacon::test
