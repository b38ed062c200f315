// The delivery of scan statuses and results.
#include <PelaconSDK/BleScanner.h>
#include <tests/sdk/ipc/ScanFixture.h>
#include <tests/support/Eventually.h>
#include <tests/support/HeldCallback.h>

#include <cstring>
#include <future>
#include <map>
#include <stdexcept>
#include <thread>

namespace pelacon::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

constexpr auto kOnStatus = "IPCMessageSender::OnScanStatus";
constexpr auto kOnResult = "IPCMessageSender::OnScanResult";

// ---- Statuses

TEST_F(ScanNotifications, AStatusReachesItsListenerOnTheReceiveThread)
{
    const std::int32_t one = RegisterRecording<1>();
    RegisterRecording<2>();
    ForgetWhatHappened();
    Status(one, -12);
    ASSERT_EQ(Delivered().size(), 1U);
    EXPECT_EQ(Delivered()[0].table, 1);
    EXPECT_EQ(Delivered()[0].listenerId, one);
    EXPECT_EQ(Delivered()[0].status, -12);
    EXPECT_EQ(Delivered()[0].thread, std::this_thread::get_id());
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Start(kOnStatus), Line(1, "call callback", kOnStatus), End(kOnStatus)));
}

TEST_F(ScanNotifications, AStatusDoesNotNeedScanning)
{
    const std::int32_t id = Scanning(RegisterRecording<1>());
    BleScanner::StopBleScan(id);
    Status(id, 3);
    EXPECT_EQ(Delivered().size(), 1U);
}

TEST_F(ScanNotifications, AStatusWithoutATableIsDropped)
{
    const std::int32_t withoutSlot =
        Register(&Lasting<BleScanCallbacksC>({nullptr, Recording<1>().onScanResult}));
    const std::int32_t withoutTable = Register(nullptr);
    const std::int32_t gone = RegisterRecording<2>();
    BleScanner::BleScanUnRegisterCallbacks(gone);
    for (const std::int32_t id : {withoutSlot, withoutTable, gone, FreshId()}) {
        ForgetWhatHappened();
        Status(id, 1);
        EXPECT_THAT(LogLines::All(), ElementsAre(Start(kOnStatus), End(kOnStatus)));
    }
    EXPECT_THAT(Delivered(), IsEmpty());
}

TEST_F(ScanNotifications, WithoutPayloadAreDroppedSilently)
{
    Scanning(RegisterRecording<1>());
    ForgetWhatHappened();
    channel.DeliverWithoutPayload(0xD8006A);
    channel.DeliverWithoutPayload(0xD8006B);
    EXPECT_THAT(LogLines::All(), IsEmpty());
    EXPECT_THAT(Delivered(), IsEmpty());
}

TEST_F(ScanNotifications, TheRegistryIsLockedDuringAStatusCallback)
{
    const std::int32_t id = Register(&Lasting<BleScanCallbacksC>(
        {[](std::int32_t, std::int32_t) { HeldCallback::Hold(); }, nullptr}));
    HeldCallback held([&] { Status(id, 0); });
    Callbacks().ScanStop(-1);  // does not wait
    EXPECT_TRUE(held.HoldsUp([] { Callbacks().RemoveScanCb(-1); }));
}

// ---- Results

TEST_F(ScanNotifications, AResultReachesEveryScanningListenerOnItsOwnThread)
{
    const std::int32_t one = Scanning(RegisterRecording<1>());
    RegisterRecording<2>();
    const std::int32_t three = Scanning(RegisterRecording<3>());
    ForgetWhatHappened();
    const ByteVector bytes = Result(100);
    EXPECT_THAT(DeliveredTo(), UnorderedElementsAre(std::pair(1, one), std::pair(3, three)));
    EXPECT_EQ(Threads::Started(), 2);
    EXPECT_EQ(Delivered()[0].result, bytes);
    EXPECT_EQ(Delivered()[1].result, bytes);
    EXPECT_NE(Delivered()[0].thread, std::this_thread::get_id());
    EXPECT_THAT(LogLines::All(), ElementsAre(Start(kOnResult), End(kOnResult)));
}

TEST_F(ScanNotifications, ListenersAreCalledInTheOrderOfTheirStarts)
{
    Threads::Use(ThreadMode::kKept);
    const std::int32_t one = RegisterRecording<1>();
    const std::int32_t two = RegisterRecording<2>();
    const std::int32_t three = RegisterRecording<3>();
    for (const std::int32_t id : {two, three, one}) {
        Scanning(id);
    }
    Result(1);
    BleScanner::StopBleScan(three);
    Result(1);
    Threads::RunKept();
    EXPECT_THAT(DeliveredTo(),
                ElementsAre(std::pair(2, two), std::pair(3, three), std::pair(1, one),
                            std::pair(2, two), std::pair(1, one)));
}

TEST_F(ScanNotifications, EachDeliveryOwnsItsCopy)
{
    Threads::Use(ThreadMode::kKept);
    Scanning(RegisterRecording<1>());
    const ByteVector first = Result(0);
    const ByteVector second = Result(128);
    EXPECT_THAT(Delivered(), IsEmpty());
    Threads::RunKept();  // the payloads of the notifications are freed
    ASSERT_EQ(Delivered().size(), 2U);
    EXPECT_EQ(Delivered()[0].result, first);
    EXPECT_EQ(Delivered()[1].result, second);
}

TEST_F(ScanNotifications, AResultWithoutAScanStartsNoThread)
{
    RegisterRecording<1>();
    BleScanner::StopBleScan(Scanning(RegisterRecording<2>()));
    Result(1);
    EXPECT_EQ(Threads::Started(), 0);
    EXPECT_THAT(Delivered(), IsEmpty());
}

TEST_F(ScanNotifications, AResultForAnEmptySlotStartsNoThread)
{
    Scanning(Register(nullptr));
    Scanning(Register(&Lasting<BleScanCallbacksC>({Recording<1>().onScanStatus, nullptr})));
    const std::int32_t gone = Scanning(RegisterRecording<2>());
    BleScanner::BleScanUnRegisterCallbacks(gone);
    Result(1);
    EXPECT_EQ(Threads::Started(), 0);
    EXPECT_THAT(Delivered(), IsEmpty());
}

TEST_F(ScanNotifications, UnregisteringLeavesTheIdScanning)
{
    const std::int32_t id = Scanning(RegisterRecording<1>());
    BleScanner::BleScanUnRegisterCallbacks(id);
    RegisterAs(id, &Lasting<BleScanCallbacksC>(Recording<2>()));
    Result(1);
    EXPECT_THAT(DeliveredTo(), ElementsAre(std::pair(2, id)));
}

TEST_F(ScanNotifications, StartingTwiceDeliversOnce)
{
    const std::int32_t id = Scanning(Scanning(RegisterRecording<1>()));
    Result(1);
    EXPECT_THAT(DeliveredTo(), ElementsAre(std::pair(1, id)));
    BleScanner::StopBleScan(id);
    Result(1);
    EXPECT_EQ(Threads::Started(), 1) << "one stop is enough";
}

TEST_F(ScanNotifications, TheFirstTableOfAnIdIsKept)
{
    const std::int32_t id = RegisterRecording<1>();
    RegisterAs(id, &Lasting<BleScanCallbacksC>(Recording<2>()));
    Result(1);
    Scanning(id);
    Result(1);
    Status(id, 0);
    EXPECT_THAT(DeliveredTo(), ElementsAre(std::pair(1, id), std::pair(1, id)));
}

TEST_F(ScanNotifications, AThreadThatCannotBeCreatedLosesThatResultOnly)
{
    const std::int32_t one = Scanning(RegisterRecording<1>());
    const std::int32_t two = Scanning(RegisterRecording<2>());
    ForgetWhatHappened();
    Threads::Use(ThreadMode::kFailing);
    Result(1);
    EXPECT_THAT(LogLines::All(), ElementsAre(Start(kOnResult), Line(4, "catch error", kOnResult),
                                             Line(4, "catch error", kOnResult), End(kOnResult)));
    Threads::Use(ThreadMode::kDetached);
    Result(2);
    EXPECT_THAT(DeliveredTo(), UnorderedElementsAre(std::pair(1, one), std::pair(2, two)));
}

TEST_F(ScanNotifications, ADeliveryDoesNotNeedTheUnregisteredTable)
{
    Threads::Use(ThreadMode::kKept);
    auto table = std::make_unique<BleScanCallbacksC>(Recording<1>());
    const std::int32_t id = Scanning(Register(table.get()));
    Result(1);
    BleScanner::BleScanUnRegisterCallbacks(id);
    table.reset();
    Threads::RunKept();
    EXPECT_THAT(DeliveredTo(), ElementsAre(std::pair(1, id)));
}

TEST_F(ScanNotifications, AResultCallbackMayCallTheScanner)
{
    const std::int32_t id = Scanning(Register(
        &Lasting<BleScanCallbacksC>({nullptr, [](std::int32_t listener, BleScanResultC result) {
                                         BleScanner::StopBleScan(listener);
                                         BleScanner::BleScanUnRegisterCallbacks(listener);
                                         Note({1, listener, 0, Raw(result), {}});
                                     }})));
    Result(1);
    EXPECT_THAT(DeliveredTo(), ElementsAre(std::pair(1, id)));
    Result(1);
    EXPECT_EQ(Threads::Started(), 1);
}

TEST_F(ScanNotifications, AScanRestartedInItsStatusCallbackDelivers)
{
    // The service sends the status of the stop before its answer.
    static std::promise<void>* entered;
    std::promise<void> inside;
    entered = &inside;
    const std::int32_t id = Scanning(Register(
        &Lasting<BleScanCallbacksC>({[](std::int32_t listener, std::int32_t /*status*/) {
                                         entered->set_value();
                                         BleScanner::StartBleScan(listener, kBleScanBalanced);
                                     },
                                     [](std::int32_t listener, BleScanResultC result) {
                                         Note({1, listener, 0, Raw(result), {}});
                                     }})));
    std::thread receiver;
    channel.OnRequest(0xD70068, [&](const Sent& /*sent*/) {
        receiver = std::thread([&] { Status(id, kBleScanStopped); });
        EXPECT_EQ(inside.get_future().wait_for(std::chrono::seconds(10)),
                  std::future_status::ready);
    });
    EXPECT_EQ(BleScanner::StopBleScan(id), 0);
    receiver.join();
    Result(1);
    EXPECT_THAT(DeliveredTo(), ElementsAre(std::pair(1, id)));
}

TEST_F(ScanNotifications, ASlowCallbackDelaysNoOther)
{
    std::promise<void> go;
    static std::shared_future<void> held;
    held = go.get_future().share();
    const std::int32_t slow = Scanning(Register(&Lasting<BleScanCallbacksC>(
        {nullptr, [](std::int32_t, BleScanResultC) { held.wait_for(std::chrono::seconds(10)); }})));
    const std::int32_t quick = Scanning(RegisterRecording<1>());
    for (int i = 0; i < 20; ++i) {
        Result(1);
    }
    EXPECT_TRUE(Eventually([] {
        const std::lock_guard lock(TheScanCalls().mutex);
        return TheScanCalls().calls.size() == 20;
    }));
    EXPECT_EQ(BleScanner::StopBleScan(slow), 0);
    EXPECT_EQ(BleScanner::BleScanUnRegisterCallbacks(quick), 0);
    go.set_value();
}

// The header's contract for callbacks that throw: the process ends with a message.
using ScanNotificationsDeathTest = ScanNotifications;

TEST_F(ScanNotificationsDeathTest, AResultCallbackThatThrowsEndsTheProcess)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    Scanning(Register(&Lasting<BleScanCallbacksC>({nullptr, [](std::int32_t, BleScanResultC) {
                                                       throw std::runtime_error(
                                                           "the listener failed");
                                                   }})));
    EXPECT_DEATH(
        {
            Result(1);
            Threads::WaitForAll();
        },
        "the listener failed");
}

}  // namespace

}  // namespace pelacon::test
