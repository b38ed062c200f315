// What an application learns of the real service's end and return.
#include <PelaconSDK/PelaconSDK.h>
#include <tests/support/HeldCallback.h>
#include <tests/support/Mailbox.h>
#include <tests/support/ServiceProcess.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <atomic>

namespace pelacon::test {

namespace {

Mailbox<PelaconServiceState>& States()
{
    static auto& states = *new Mailbox<PelaconServiceState>;
    return states;
}

void Put(void* /*context*/, PelaconServiceState state)
{
    States().Put(state);
}

class ServiceStates : public ::testing::Test {
  protected:
    ServiceStates() { States().Clear(); }
    ~ServiceStates() override
    {
        PelaconSetServiceSink(nullptr, nullptr);
        PelaconSvcStop();
    }

    /// Starts the library, with a sink that was set before.
    static void StartWith(PelaconServiceSink sink, void* context = nullptr)
    {
        PelaconSetServiceSink(context, sink);
        ASSERT_EQ(PelaconSvcStart(), 0);
        ASSERT_TRUE(Eventually([] { return PelaconGetServiceState() != kPelaconServiceNotFound; }));
    }

    ServiceProcess service;
};

TEST_F(ServiceStates, FollowAServiceThatIsKilledAndStartedAgain)
{
    StartWith(&Put);
    EXPECT_EQ(States().Next(), kPelaconServiceAvailable);
    service.Kill();
    EXPECT_EQ(States().Next(), kPelaconServiceLost);
    EXPECT_EQ(PelaconGetServiceState(), kPelaconServiceLost);
    service.Start();
    EXPECT_EQ(States().Next(), kPelaconServiceRestarted);
    EXPECT_EQ(PelaconGetServiceState(), kPelaconServiceRestarted);
    service.Restart();
    EXPECT_EQ(States().Next(), kPelaconServiceLost);
    EXPECT_EQ(States().Next(), kPelaconServiceRestarted);
    EXPECT_EQ(States().Left(), 0U);
}

TEST_F(ServiceStates, FollowAServiceThatComesLater)
{
    service.End();
    PelaconSetServiceSink(nullptr, &Put);
    ASSERT_EQ(PelaconSvcStart(), 0);
    EXPECT_EQ(PelaconGetServiceState(), kPelaconServiceNotFound);
    service.Start();
    EXPECT_EQ(States().Next(), kPelaconServiceAvailable);
    EXPECT_EQ(States().Left(), 0U);
}

TEST_F(ServiceStates, FollowALostConnection)
{
    StartWith(&Put);
    service.Command({{"command", "disconnect"}});
    EXPECT_EQ(States().NextThat([](auto state) { return state == kPelaconServiceLost; }),
              kPelaconServiceLost);
    EXPECT_EQ(States().Next(), kPelaconServiceRestarted);
}

TEST_F(ServiceStates, SayThatNothingWasRepaired)
{
    StartWith(&Put);
    EXPECT_EQ(States().Next(), kPelaconServiceAvailable);
    service.Command({{"command", "fault.add"},
                     {"fault", {{"request", "RepairResource"}, {"do", "empty"}, {"times", 1}}}});
    service.Command({{"command", "disconnect"}});
    EXPECT_EQ(States().Next(), kPelaconServiceLost);
    EXPECT_EQ(States().Next(), kPelaconServiceNotRepaired);
}

TEST_F(ServiceStates, AreForgottenByAStop)
{
    StartWith(&Put);
    EXPECT_EQ(States().Next(), kPelaconServiceAvailable);
    PelaconSvcStop();
    EXPECT_EQ(PelaconGetServiceState(), kPelaconServiceNotFound);
    ASSERT_EQ(PelaconSvcStart(), 0);
    EXPECT_EQ(States().Next(), kPelaconServiceAvailable) << "and no other state before";
}

TEST_F(ServiceStates, ComeWhenTheLibraryCanBeUsed)
{
    static std::atomic<int> on{0};
    on = 0;
    for (int round = 1; round <= 20; ++round) {
        StartWith([](void*, PelaconServiceState) { on += IsBtEnabled() ? 1 : 0; });
        EXPECT_TRUE(Eventually([&] { return on == round; })) << "round " << round;
        PelaconSvcStop();
    }
}

TEST_F(ServiceStates, MayStopAndStartTheLibraryInTheSink)
{
    StartWith([](void*, PelaconServiceState state) {
        States().Put(state);
        if (state == kPelaconServiceLost) {
            PelaconSvcStop();
            EXPECT_EQ(PelaconGetServiceState(), kPelaconServiceNotFound);
            PelaconSvcStart();
        }
    });
    EXPECT_EQ(States().Next(), kPelaconServiceAvailable);
    service.Command({{"command", "disconnect"}});
    EXPECT_EQ(States().Next(), kPelaconServiceLost);
    EXPECT_EQ(States().Next(), kPelaconServiceAvailable);
    EXPECT_TRUE(IsBtEnabled());
}

TEST_F(ServiceStates, AreNotReportedAnyMoreWhenTheSinkIsRemoved)
{
    StartWith(&Put);
    EXPECT_EQ(States().Next(), kPelaconServiceAvailable);
    PelaconSetServiceSink(nullptr, nullptr);
    service.Kill();
    EXPECT_TRUE(Eventually([] { return PelaconGetServiceState() == kPelaconServiceLost; }));
    EXPECT_EQ(States().Left(), 0U);
}

TEST_F(ServiceStates, MayRemoveTheSinkInTheSink)
{
    StartWith([](void*, PelaconServiceState state) {
        States().Put(state);
        PelaconSetServiceSink(nullptr, nullptr);
    });
    EXPECT_EQ(States().Next(), kPelaconServiceAvailable);
    service.Kill();
    EXPECT_TRUE(Eventually([] { return PelaconGetServiceState() == kPelaconServiceLost; }));
    EXPECT_EQ(States().Left(), 0U);
}

TEST_F(ServiceStates, HoldUpTheRemovalOfTheSinkThatTakesOne)
{
    HeldCallback held([] { StartWith([](void*, PelaconServiceState) { HeldCallback::Hold(); }); });
    EXPECT_TRUE(held.HoldsUp([] { PelaconSetServiceSink(nullptr, nullptr); }));
}

TEST_F(ServiceStates, HoldUpAStop)
{
    HeldCallback held([] { StartWith([](void*, PelaconServiceState) { HeldCallback::Hold(); }); });
    EXPECT_TRUE(held.HoldsUp([] { PelaconSvcStop(); }));
}

TEST_F(ServiceStates, ComeWithoutALockOfARegistry)
{
    static BtManagerCallbacksC adapter{};
    static Vod2dWifiBroadcastRecvCb group{};
    static BleScanCallbacksC scan{};
    StartWith([](void*, PelaconServiceState state) {
        if (state == kPelaconServiceRestarted) {
            HeldCallback::Hold();
        }
    });
    HeldCallback held([this] { service.Command({{"command", "disconnect"}}); });
    ASSERT_TRUE(held.IsInside());
    std::int32_t id = 0;
    EXPECT_EQ(RegisterBtStateChangeCallbacks(&adapter), kBleStatusSuccess);
    EXPECT_EQ(UnRegisterBtStateChangeCallbacks(&adapter), kBleStatusSuccess);
    EXPECT_EQ(BleScanRegisterCallbacks(&scan, &id), kBleStatusSuccess);
    EXPECT_EQ(BleScanUnRegisterCallbacks(id), kBleStatusSuccess);
    EXPECT_EQ(Vod2dRegisterSoftAPStateChangedCallback(&group), kWifiSuccess);
    EXPECT_EQ(Vod2dUnRegisterSoftAPStateChangedCallback(&group), kWifiSuccess);
    EXPECT_TRUE(held.HoldsUp([] { PelaconSetServiceSink(nullptr, nullptr); }));
}

}  // namespace

}  // namespace pelacon::test
