// Children forked while the application's threads make requests to the real service.
#include <PelaconSDK/PelaconSDK.h>
#include <tests/support/ServiceProcess.h>
#include <tests/support/linux/InChild.h>

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <ostream>
#include <thread>

namespace pelacon::test {

namespace {

constexpr int kForks = 300;

/// An operation, and its result when the service answers.
struct Operation {
    const char* name;
    std::function<int()> call;
    int answer;
};

void PrintTo(const Operation& operation, std::ostream* out)
{
    *out << operation.name;
}

constexpr int kUnknownId = 2;

const Operation kOperations[] = {
    {"BleManager", [] { return BleManager::BtEnable(); }, 0},
    {"BleScanner", [] { return BleScanner::StopBleScan(0); }, kUnknownId},
    {"BleAdvertiser", [] { return BleAdvertiser::BleStopAdvertise(0); }, kUnknownId},
    {"BleGattClient", [] { return BleGattClient::BleGattClientDisconnect(0); }, kUnknownId},
    {"BleGattServer", [] { return BleGattServer::BleGattServerStartService(0, 0); }, kUnknownId},
    {"Vod2dApi",
     [] {
         bool active = false;
         return Vod2dApi::Vod2dIsWifiActive(&active);
     },
     0},
    {"WifiSystemApi", [] { return WifiSystemApi::GetInstance().GetSoftApError(); }, 0},
    {"ErrorNotifier",
     [] {
         WifiSystemApi::GetInstance().PostNotification(kConnectBleSendFail);
         return 0;
     },
     0},
};

/// Stops the library as inherited from the parent, starts it and uses it. Returns the number of
/// failed steps.
int RestartAndUse(const Operation& operation)
{
    int failed = PelaconSvcStop() == 0 ? 0 : 1;
    failed += PelaconSvcStart() == 0 ? 0 : 1;
    failed += operation.call() == operation.answer ? 0 : 1;
    failed += PelaconSvcStop() == 0 ? 0 : 1;
    return failed;
}

class ForkTest : public ::testing::TestWithParam<Operation> {
  protected:
    ForkTest() { EXPECT_EQ(PelaconSvcStart(), 0); }
    ~ForkTest() override { PelaconSvcStop(); }

    ServiceProcess service;
};

TEST_P(ForkTest, EveryChildUsesTheLibraryThoughTheParentsThreadsAreBusy)
{
    std::atomic<bool> done{false};
    const auto work = [&] {
        while (!done) {
            EXPECT_EQ(GetParam().call(), GetParam().answer);
        }
    };
    std::thread one(work);
    std::thread other(work);
    for (int round = 0; round < kForks && !HasFailure(); ++round) {
        EXPECT_EQ(InChild([] { return RestartAndUse(GetParam()); }), 0) << "round " << round;
    }
    done = true;
    one.join();
    other.join();
}

const Operation* inCallback = nullptr;
std::atomic<int> childrenOfCallbacks{0};

TEST_P(ForkTest, AChildThatACallbackMakesUsesTheLibrary)
{
    static BtManagerCallbacksC table{[](std::int32_t) {
        EXPECT_EQ(InChild([] { return RestartAndUse(*inCallback); }), 0);
        ++childrenOfCallbacks;
    }};
    inCallback = &GetParam();
    childrenOfCallbacks = 0;
    ASSERT_EQ(BleManager::RegisterBtStateChangeCallbacks(&table), 0);
    EXPECT_EQ(BleManager::BtDisable(), 0);
    EXPECT_EQ(BleManager::BtEnable(), 0);
    // One change to off and one to on; children that switch the adapter on cause more.
    EXPECT_TRUE(Eventually([] { return childrenOfCallbacks >= 2; }));
    EXPECT_EQ(BleManager::UnRegisterBtStateChangeCallbacks(&table), 0);
}

INSTANTIATE_TEST_SUITE_P(Classes, ForkTest, ::testing::ValuesIn(kOperations),
                         [](const auto& test) { return test.param.name; });

}  // namespace

}  // namespace pelacon::test
