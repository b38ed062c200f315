// The delivery of scan statuses and results, and the registry of scan callbacks.
#include <PelaconSDK/BleScanner.h>
#include <PelaconSDK/PelaconSvc.h>
#include <sdk/ipc/IPCMessageSender.h>
#include <sdk/ipc/ScanCallbacks.h>
#include <tests/support/Eventually.h>
#include <tests/support/HeldCallback.h>
#include <tests/support/SdkTest.h>

#include <cstring>
#include <future>
#include <map>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace pelacon::test {

namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::UnorderedElementsAre;

constexpr auto kOnStatus = "IPCMessageSender::OnScanStatus";
constexpr auto kOnResult = "IPCMessageSender::OnScanResult";

ScanCallbacks& Callbacks()
{
    return Registry<ScanCallbacks>();
}

ByteVector Raw(const BleScanResultC& result)
{
    ByteVector bytes(sizeof result);
    std::memcpy(bytes.data(), &result, sizeof result);
    return bytes;
}

/// One call of a slot.
struct ScanCall {
    int table;
    std::int32_t listenerId;
    std::int32_t status;  ///< zero for results
    ByteVector result;    ///< empty for statuses
    std::thread::id thread;
};

struct ScanCalls {
    std::mutex mutex;
    std::vector<ScanCall> calls;
};

ScanCalls& TheScanCalls()
{
    static ScanCalls& calls = *new ScanCalls;
    return calls;
}

void Note(ScanCall call)
{
    const std::lock_guard lock(TheScanCalls().mutex);
    call.thread = std::this_thread::get_id();
    TheScanCalls().calls.push_back(std::move(call));
}

template <int Table>
BleScanCallbacksC Recording()
{
    return {[](std::int32_t id, std::int32_t status) {
                Note({Table, id, status, {}, {}});
            },
            [](std::int32_t id, BleScanResultC result) {
                Note({Table, id, 0, Raw(result), {}});
            }};
}

class ScanNotifications : public SdkTest {
  protected:
    void SetUp() override
    {
        SdkTest::SetUp();
        TheScanCalls().calls.clear();
        for (const std::int32_t request : {0xD70065, 0xD70066, 0xD70068}) {
            channel.Reply(request, Bytes().I32(0));
        }
    }

    void TearDown() override
    {
        Threads::WaitForAll();
        for (const std::int32_t id : ids_) {
            Callbacks().ScanStop(id);
            Callbacks().RemoveScanCb(id);
        }
        SdkTest::TearDown();
    }

    /// A listener with this table, or with none.
    std::int32_t Register(BleScanCallbacksC* table)
    {
        const std::int32_t id = FreshId();
        RegisterAs(id, table);
        return id;
    }
    void RegisterAs(std::int32_t id, BleScanCallbacksC* table)
    {
        int given = 0;
        channel.Reply(0xD70064, Bytes().I32(id).I32(0));
        EXPECT_EQ(BleScanner::BleScanRegisterCallbacks(table, &given), 0);
        EXPECT_EQ(given, id);
        ids_.push_back(id);
    }
    template <int Table>
    std::int32_t RegisterRecording()
    {
        return Register(&Lasting<BleScanCallbacksC>(Recording<Table>()));
    }
    std::int32_t Scanning(std::int32_t id)
    {
        EXPECT_EQ(BleScanner::StartBleScan(id, kBleScanBalanced), 0);
        return id;
    }

    void Status(std::int32_t id, std::int32_t status)
    {
        channel.Deliver(0xD8006A, Bytes().I32(id).I32(status));
    }
    /// A result whose 64 bytes begin with this one and count up; the 8 before them have no effect.
    ByteVector Result(std::uint8_t first)
    {
        ByteVector bytes(64);
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            bytes[i] = static_cast<std::uint8_t>(first + i);
        }
        channel.Deliver(0xD8006B, Bytes().Fill(8, 0xEE).Raw(bytes));
        return bytes;
    }

    /// All calls so far, when the threads that make them have ended.
    static std::vector<ScanCall> Delivered()
    {
        Threads::WaitForAll();
        const std::lock_guard lock(TheScanCalls().mutex);
        return TheScanCalls().calls;
    }
    static std::vector<std::pair<int, std::int32_t>> DeliveredTo()
    {
        std::vector<std::pair<int, std::int32_t>> to;
        for (const ScanCall& call : Delivered()) {
            to.emplace_back(call.table, call.listenerId);
        }
        return to;
    }

  private:
    std::vector<std::int32_t> ids_;
};

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

// ---- The registry by itself

TEST_F(ScanNotifications, RegistryOperationsAreLogged)
{
    const std::int32_t id = FreshId();
    const std::string number = std::to_string(id);
    BleScanCallbacksC& table = Lasting<BleScanCallbacksC>();
    Callbacks().AddScanCb(&table, id);
    Callbacks().AddScanCb(&table, id);
    Callbacks().AddScanCb(nullptr, id);
    EXPECT_THAT(LogLines::All(), Each(::testing::AnyOf(Start("IPCMessageSender::AddScanCb"),
                                                       End("IPCMessageSender::AddScanCb"))));
    EXPECT_EQ(LogLines::All().size(), 6U);

    LogLines::Clear();
    Callbacks().RemoveScanCb(id);
    Callbacks().RemoveScanCb(id);
    constexpr auto kRemove = "IPCMessageSender::RemoveScanCb";
    EXPECT_THAT(LogLines::All(), ElementsAre(Start(kRemove), Line(1, "remove callback", kRemove),
                                             End(kRemove), Start(kRemove), End(kRemove)));

    LogLines::Clear();
    constexpr auto kScanStart = "IPCMessageSender::ScanStart";
    Callbacks().ScanStart(id);
    Callbacks().ScanStart(id);
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Line(1, "start:" + number, kScanStart), End(kScanStart),
                            Line(1, "start:" + number, kScanStart),
                            Line(1, "already start:" + number, kScanStart), End(kScanStart)));

    LogLines::Clear();
    constexpr auto kScanStop = "IPCMessageSender::ScanStop";
    Callbacks().ScanStop(id);
    Callbacks().ScanStop(id);
    EXPECT_THAT(
        LogLines::All(),
        ElementsAre(Line(1, "start:" + number, kScanStop), Line(1, "stop ok:" + number, kScanStop),
                    End(kScanStop), Line(1, "start:" + number, kScanStop), End(kScanStop)));
}

TEST_F(ScanNotifications, RegistrationsSurviveStopAndStart)
{
    const std::int32_t id = Scanning(RegisterRecording<1>());
    PelaconSvcStop();
    ASSERT_EQ(PelaconSvcStart(), 0);
    Result(1);
    EXPECT_THAT(DeliveredTo(), ElementsAre(std::pair(1, id)));
}

// ---- The ids that the library names after a restart of the service

ByteVector RepairPayload(Channel& channel)
{
    channel.ForgetSent();
    channel.Reply(0xD700A1, Bytes().I32(0));
    channel.DeliverWithoutPayload(0xD700A0);
    for (const Sent& sent : channel.Requests()) {
        if (sent.item.msgId == 0xD700A1) {
            return sent.payload;
        }
    }
    ADD_FAILURE() << "no repair request";
    return {};
}

TEST_F(ScanNotifications, TheRepairNamesTheTenLowestListeners)
{
    // The id with a null table and the unregistered one are left out, whether or not they scan.
    std::vector<std::int32_t> ids = {-5, 40, 7, 2000000, 12, 9, 11, 500, 501, 499, 3};
    for (const std::int32_t id : ids) {
        RegisterAs(id, &Lasting<BleScanCallbacksC>());
    }
    RegisterAs(1, nullptr);
    RegisterAs(2, &Lasting<BleScanCallbacksC>());
    BleScanner::BleScanUnRegisterCallbacks(2);
    Bytes expected;
    expected.Zeros(40);
    for (const std::int32_t id : {-5, 3, 7, 9, 11, 12, 40, 499, 500, 501}) {
        expected.I32(id);
    }
    expected.Zeros(40);
    EXPECT_EQ(RepairPayload(channel), ByteVector(expected));
}

TEST_F(ScanNotifications, UnusedSlotsOfTheRepairAreZero)
{
    RegisterAs(8, &Lasting<BleScanCallbacksC>());
    RegisterAs(6, &Lasting<BleScanCallbacksC>());
    EXPECT_EQ(RepairPayload(channel), ByteVector(Bytes().Zeros(40).I32(6).I32(8).Zeros(72)));
}

}  // namespace

}  // namespace pelacon::test
