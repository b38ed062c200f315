// Changes of the adapter's state, and the registry of their callbacks.
#include <PelaconSDK/BleManager.h>
#include <PelaconSDK/PelaconSvc.h>
#include <tests/support/HeldCallback.h>
#include <tests/support/SdkTest.h>

#include <utility>
#include <vector>

namespace pelacon::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The states that were delivered, with the number of the table.
std::vector<std::pair<int, std::int32_t>>& Delivered()
{
    static std::vector<std::pair<int, std::int32_t>> delivered;
    return delivered;
}

template <int Number>
void Deliver(std::int32_t state)
{
    Delivered().emplace_back(Number, state);
}

class BtStateChanges : public SdkTest {
  protected:
    void SetUp() override
    {
        SdkTest::SetUp();
        Delivered().clear();
        channel.Reply(0xD7005A, Bytes().I32(0));
    }

    void TearDown() override
    {
        for (BtManagerCallbacksC* table : registered_) {
            BleManager::UnRegisterBtStateChangeCallbacks(table);
        }
        SdkTest::TearDown();
    }

    BtManagerCallbacksC& Register(void (*callback)(std::int32_t))
    {
        auto& table = Lasting<BtManagerCallbacksC>({callback});
        EXPECT_EQ(BleManager::RegisterBtStateChangeCallbacks(&table), 0);
        registered_.push_back(&table);
        return table;
    }

    void ChangeState(std::int32_t state) { channel.Deliver(0xD80062, Bytes().I32(state)); }

  private:
    std::vector<BtManagerCallbacksC*> registered_;
};

TEST_F(BtStateChanges, AreDeliveredInOrderOfRegistration)
{
    Register(Deliver<2>);
    Register(Deliver<1>);
    Register(Deliver<3>);
    ChangeState(-7);
    EXPECT_THAT(Delivered(), ElementsAre(std::pair(2, -7), std::pair(1, -7), std::pair(3, -7)));
}

TEST_F(BtStateChanges, AreLogged)
{
    constexpr auto kFunction = "IPCMessageSender::OnBtStateChanged";
    Register(Deliver<1>);
    Register([](std::int32_t) { Journal::Note("called"); });
    ForgetWhatHappened();
    ChangeState(2);
    const std::vector<LogLine> lines = LogLines::All();
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_EQ(lines.front(), Start(kFunction));
    EXPECT_EQ(lines[1].level, 1);
    EXPECT_EQ(lines[2].level, 1);
    EXPECT_EQ(lines.back(), End(kFunction));
    ASSERT_EQ(Journal::Entries().size(), 5U);
    EXPECT_EQ(Journal::Entries()[3], "called") << "after its line";
}

TEST_F(BtStateChanges, SkipATableWithAnEmptySlot)
{
    Register(Deliver<1>);
    Register(nullptr);
    Register(Deliver<2>);
    ForgetWhatHappened();
    ChangeState(1);
    EXPECT_THAT(Delivered(), ElementsAre(std::pair(1, 1), std::pair(2, 1)));
    EXPECT_EQ(LogLines::All().size(), 4U);
}

TEST_F(BtStateChanges, AreDroppedWithoutATable)
{
    ChangeState(1);
    EXPECT_THAT(LogLines::All(), ElementsAre(Start("IPCMessageSender::OnBtStateChanged"),
                                             End("IPCMessageSender::OnBtStateChanged")));
}

TEST_F(BtStateChanges, ReachATableOnlyIfTheServiceAccepted)
{
    auto& table = Lasting<BtManagerCallbacksC>({Deliver<1>});
    channel.Reply(0xD7005A, Bytes().I32(4));
    EXPECT_EQ(BleManager::RegisterBtStateChangeCallbacks(&table), 4);
    channel.ReplyNothing(0xD7005A);
    EXPECT_EQ(BleManager::RegisterBtStateChangeCallbacks(&table), -9);
    ChangeState(1);
    EXPECT_THAT(Delivered(), IsEmpty());
}

TEST_F(BtStateChanges, ReachATableOncePerRegistration)
{
    BtManagerCallbacksC& table = Register(Deliver<1>);
    EXPECT_EQ(BleManager::RegisterBtStateChangeCallbacks(&table), 0);
    ChangeState(1);
    EXPECT_EQ(Delivered().size(), 2U);
    Delivered().clear();
    BleManager::UnRegisterBtStateChangeCallbacks(&table);
    ChangeState(1);
    EXPECT_THAT(Delivered(), IsEmpty());
}

TEST_F(BtStateChanges, AreDeliveredWithTheRegistryLocked)
{
    Register([](std::int32_t) { HeldCallback::Hold(); });
    HeldCallback held([&] { ChangeState(1); });
    EXPECT_TRUE(held.HoldsUp([] { BleManager::UnRegisterBtStateChangeCallbacks(nullptr); }));
}

TEST_F(BtStateChanges, EndWithTheRegistration)
{
    BtManagerCallbacksC& first = Register(Deliver<1>);
    Register(Deliver<2>);
    ForgetWhatHappened();
    EXPECT_EQ(BleManager::UnRegisterBtStateChangeCallbacks(&first), 0);
    EXPECT_THAT(channel.Requests(), IsEmpty()) << "nothing is sent";
    EXPECT_THAT(LogLines::All(), ElementsAre(Start("BleManager::UnRegisterBtStateChangeCallbacks"),
                                             End("BleManager::UnRegisterBtStateChangeCallbacks")));
    ChangeState(9);
    EXPECT_THAT(Delivered(), ElementsAre(std::pair(2, 9)));
}

TEST_F(BtStateChanges, UnregisteringAnUnknownTableDoesNothing)
{
    BtManagerCallbacksC never{Deliver<1>};
    EXPECT_EQ(BleManager::UnRegisterBtStateChangeCallbacks(&never), 0);
    EXPECT_EQ(BleManager::UnRegisterBtStateChangeCallbacks(nullptr), 0);
}

TEST_F(BtStateChanges, ANullTableIsRefused)
{
    EXPECT_EQ(BleManager::RegisterBtStateChangeCallbacks(nullptr), -1);
    EXPECT_THAT(channel.Requests(), IsEmpty());
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Start("BleManager::RegisterBtStateChangeCallbacks"),
                            Line(4, "null", "BleManager::RegisterBtStateChangeCallbacks")));
}

TEST_F(BtStateChanges, AreDeliveredAfterStopAndStart)
{
    Register(Deliver<1>);
    PelaconSvcStop();
    ASSERT_EQ(PelaconSvcStart(), 0);
    ChangeState(5);
    EXPECT_THAT(Delivered(), ElementsAre(std::pair(1, 5)));
}

}  // namespace

}  // namespace pelacon::test
