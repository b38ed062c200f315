// Advertising that ends by itself, and the registry of its callbacks.
#include <PelaconSDK/BleAdvertiser.h>
#include <sdk/ipc/AdvertiserCallbacks.h>
#include <sdk/ipc/IPCMessageSender.h>
#include <tests/support/HeldCallback.h>
#include <tests/support/SdkTest.h>

#include <chrono>
#include <future>
#include <set>
#include <stdexcept>
#include <thread>
#include <vector>

namespace pelacon::test {

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr std::int32_t kRegisterAdvertiser = 0xD7003C;
constexpr std::int32_t kStartAdvertise = 0xD7003F;
constexpr std::int32_t kStopAdvertise = 0xD70041;
constexpr std::int32_t kDisabled = 0xD80044;

AdvertiserCallbacks& Callbacks()
{
    return Registry<AdvertiserCallbacks>();
}

/// A call of a table's callback.
struct Call {
    int table;
    std::int32_t advId;
    std::int32_t status;
    bool operator==(const Call&) const = default;
};
std::vector<Call>& Calls()
{
    static std::vector<Call>& calls = *new std::vector<Call>;
    return calls;
}
std::thread::id calledOn;

template <int Table>
void NoteCall(std::int32_t advId, std::int32_t status)
{
    Calls().push_back({Table, advId, status});
    calledOn = std::this_thread::get_id();
}

class AdvertiseDisabled : public SdkTest {
  protected:
    static constexpr auto kHandler = "IPCMessageSender::AdvertiseDisableCallback";

    void SetUp() override
    {
        SdkTest::SetUp();
        Calls().clear();
    }

    void TearDown() override
    {
        for (const std::int32_t id : ids_) {
            Callbacks().RemoveAdvCb(id);
        }
        SdkTest::TearDown();
    }

    void RegisterAs(std::int32_t id, void (*slot)(std::int32_t, std::int32_t))
    {
        int given = 0;
        channel.Reply(kRegisterAdvertiser, Bytes().I32(id).I32(0));
        EXPECT_EQ(
            BleAdvertiser::BleAdvRegisterCallbacks(&Lasting<BleAdvCallbacksC>({slot}), &given), 0);
        EXPECT_EQ(given, id);
        ids_.insert(id);
    }

    void NotifyDisabled(std::int32_t id, std::int32_t status)
    {
        ForgetWhatHappened();
        channel.Deliver(kDisabled, Bytes().I32(id).I32(status));
    }

    std::set<std::int32_t> ids_;
};

TEST_F(AdvertiseDisabled, TheCallbackRunsOnTheReceiveThread)
{
    const std::int32_t id = FreshId();
    RegisterAs(id, NoteCall<1>);
    RegisterAs(FreshId(), NoteCall<2>);
    NotifyDisabled(id, -6);
    EXPECT_THAT(Calls(), ElementsAre(Call{1, id, -6}));
    EXPECT_EQ(calledOn, std::this_thread::get_id());
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Start(kHandler), Line(1, "call callback", kHandler), End(kHandler)));
}

TEST_F(AdvertiseDisabled, WithoutATableOrASlotNothingIsCalled)
{
    const std::int32_t withoutSlot = FreshId();
    RegisterAs(withoutSlot, nullptr);
    const std::int32_t gone = FreshId();
    RegisterAs(gone, NoteCall<1>);
    BleAdvertiser::BleAdvUnRegisterCallbacks(gone);
    for (const std::int32_t id : {withoutSlot, gone, FreshId()}) {
        NotifyDisabled(id, 1);
        EXPECT_THAT(LogLines::All(), ElementsAre(Start(kHandler), End(kHandler)));
    }
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(AdvertiseDisabled, NotificationsWithoutPayloadAreDropped)
{
    RegisterAs(FreshId(), NoteCall<1>);
    ForgetWhatHappened();
    channel.DeliverWithoutPayload(kDisabled);
    EXPECT_THAT(LogLines::All(), IsEmpty());
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(AdvertiseDisabled, TheFirstTableOfAnIdIsKept)
{
    const std::int32_t id = FreshId();
    RegisterAs(id, NoteCall<1>);
    ForgetWhatHappened();
    RegisterAs(id, NoteCall<2>);
    EXPECT_THAT(LogLines::All(),
                Not(Contains(Line(1, "add callback", "IPCMessageSender::AddAdvCb"))));
    NotifyDisabled(id, 0);
    EXPECT_THAT(Calls(), ElementsAre(Call{1, id, 0}));
}

TEST_F(AdvertiseDisabled, TheRegistryRefusesNull)
{
    Callbacks().AddAdvCb(nullptr, FreshId());
    EXPECT_THAT(LogLines::All(), ElementsAre(Start("IPCMessageSender::AddAdvCb"),
                                             End("IPCMessageSender::AddAdvCb")));
    LogLines::Clear();
    Callbacks().RemoveAdvCb(FreshId());
    EXPECT_THAT(LogLines::All(), ElementsAre(Start("IPCMessageSender::RemoveAdvCb"),
                                             End("IPCMessageSender::RemoveAdvCb")));
}

TEST_F(AdvertiseDisabled, StoppingKeepsTheTable)
{
    const std::int32_t id = FreshId();
    RegisterAs(id, NoteCall<1>);
    channel.Reply(kStopAdvertise, Bytes().I32(0));
    BleAdvertiser::BleStopAdvertise(id);
    NotifyDisabled(id, 0);
    EXPECT_EQ(Calls().size(), 1U);
}

TEST_F(AdvertiseDisabled, TheRegistryIsLockedDuringACallback)
{
    const std::int32_t id = FreshId();
    RegisterAs(id, [](std::int32_t, std::int32_t) { HeldCallback::Hold(); });
    HeldCallback held([&] { NotifyDisabled(id, 0); });
    EXPECT_TRUE(held.HoldsUp([] { Callbacks().RemoveAdvCb(-1); }));
}

// The header's contract for callbacks that throw.
using AdvertiseDisabledDeathTest = AdvertiseDisabled;

TEST_F(AdvertiseDisabledDeathTest, ACallbackThatThrowsEndsTheProcess)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const std::int32_t id = FreshId();
    RegisterAs(
        id, [](std::int32_t, std::int32_t) { throw std::runtime_error("the advertiser failed"); });
    EXPECT_DEATH(std::thread([&] { NotifyDisabled(id, 0); }).join(), "the advertiser failed");
}

TEST_F(AdvertiseDisabled, TheCallbackMayStartAgain)
{
    const std::int32_t id = FreshId();
    channel.Reply(kStartAdvertise, Bytes().I32(0));
    RegisterAs(id, [](std::int32_t advId, std::int32_t) {
        Calls().push_back({0, advId, BleAdvertiser::BleStartAdvertise(advId, {}, {})});
    });
    NotifyDisabled(id, 0);
    EXPECT_THAT(Calls(), ElementsAre(Call{0, id, 0}));
}

TEST_F(AdvertiseDisabled, TheCallbackMayStartAgainWhileAnotherThreadRegisters)
{
    static std::promise<void>* entered;
    static std::shared_future<void>* registering;
    std::promise<void> inside;
    std::promise<void> requestSent;
    std::shared_future<void> another = requestSent.get_future().share();
    entered = &inside;
    registering = &another;
    const std::int32_t id = FreshId();
    channel.Reply(kStartAdvertise, Bytes().I32(0));
    RegisterAs(id, [](std::int32_t advId, std::int32_t) {
        entered->set_value();
        registering->wait_for(std::chrono::seconds(10));
        Calls().push_back({0, advId, BleAdvertiser::BleStartAdvertise(advId, {}, {})});
    });
    std::thread receiver([&] { NotifyDisabled(id, 0); });
    ASSERT_EQ(inside.get_future().wait_for(std::chrono::seconds(10)), std::future_status::ready);
    // It holds the class's lock while it sends its request, and then waits for the registry's.
    channel.OnRequest(kRegisterAdvertiser, [&](const Sent&) { requestSent.set_value(); });
    RegisterAs(FreshId(), nullptr);
    receiver.join();
    EXPECT_THAT(Calls(), ElementsAre(Call{0, id, 0}));
}

TEST_F(AdvertiseDisabled, TheRepairContainsTheTenLowestIds)
{
    const std::vector<std::int32_t> ids = {31, 29, 23, 19, 17, 13, 11, 7, 5, 3, -2};
    for (const std::int32_t id : ids) {
        RegisterAs(id, nullptr);
    }
    ForgetWhatHappened();
    channel.DeliverWithoutPayload(0xD700A0);
    Bytes expected;
    for (std::size_t i = 0; i < 10; ++i) {
        expected.I32(ids[ids.size() - 1 - i]);
    }
    ASSERT_FALSE(channel.Requests().empty());
    EXPECT_THAT(channel.Requests().front(), RequestIs(0xD700A1, expected.Zeros(80), 10000));
}

}  // namespace

}  // namespace pelacon::test
