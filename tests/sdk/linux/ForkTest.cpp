// The library in a forked child: whatever the parent's threads were doing, the child can stop the
// library, start it and use every class.
#include <PelaconSDK/PelaconSDK.h>
#include <protocol/BleManager.h>
#include <tests/sdk/Families.h>
#include <tests/support/HeldCallback.h>
#include <tests/support/SdkTest.h>
#include <tests/support/linux/InChild.h>

#include <chrono>
#include <future>
#include <thread>

namespace pelacon::test {

namespace {

using namespace std::chrono_literals;

constexpr auto kLimit = 10s;

/// Stops the library as inherited from the parent, starts it and uses the family. Returns the
/// number of failed steps.
int RestartAndUse(const Family& family)
{
    Channel::Get().Reset();
    ScriptAnswers(family);
    int failed = 0;
    failed += PelaconSvcStop() != 0;
    failed += family.call() != -1;
    failed += PelaconSvcStart() != 0;
    failed += family.call() != 0;
    family.registerTable();
    int calls = 0;
    inCallback = [&] { ++calls; };
    Notify(family);
    failed += calls == 0;
    failed += PelaconSvcStop() != 0;
    return failed;
}

class ForkTest : public SdkTest {
  protected:
    ~ForkTest() override { inCallback = nullptr; }
};

class FamilyForkTest : public ForkTest, public ::testing::WithParamInterface<Family> {
  protected:
    void SetUp() override
    {
        ForkTest::SetUp();
        ScriptAnswers(GetParam());
    }
};

TEST_P(FamilyForkTest, AChildUsesTheFamilyWhileAParentsThreadIsInARequest)
{
    std::promise<void> inRequest;
    std::promise<void> forked;
    channel.OnRequest(GetParam().request, [&](const Sent&) {
        inRequest.set_value();
        EXPECT_EQ(forked.get_future().wait_for(kLimit), std::future_status::ready);
    });
    std::thread caller(GetParam().call);
    ASSERT_EQ(inRequest.get_future().wait_for(kLimit), std::future_status::ready);
    EXPECT_EQ(InChild([] { return RestartAndUse(GetParam()); }), 0);
    forked.set_value();
    caller.join();
}

TEST_P(FamilyForkTest, AChildUsesTheFamilyWhileAParentsThreadIsInACallback)
{
    GetParam().registerTable();
    inCallback = HeldCallback::Hold;
    HeldCallback callback([] { Notify(GetParam()); });
    ASSERT_TRUE(callback.IsInside());
    EXPECT_EQ(InChild([] { return RestartAndUse(GetParam()); }), 0);
}

TEST_P(FamilyForkTest, AChildForkedInACallbackUsesTheFamily)
{
    GetParam().registerTable();
    pid_t child = -1;
    int failed = 0;
    inCallback = [&] {
        inCallback = nullptr;
        child = fork();
        if (child == 0) {
            alarm(20);
            failed += RestartAndUse(GetParam());
        }
    };
    Notify(GetParam());
    if (child == 0) {
        _exit(failed + RestartAndUse(GetParam()));
    }
    EXPECT_EQ(ExitCode(child), 0);
}

INSTANTIATE_TEST_SUITE_P(Families, FamilyForkTest, ::testing::ValuesIn(Families()),
                         [](const auto& test) { return test.param.name; });

TEST_F(ForkTest, AChildStartsTheLibraryWhileAParentsThreadStopsIt)
{
    std::promise<void> stopping;
    std::promise<void> forked;
    channel.OnUnregister([&] {
        stopping.set_value();
        EXPECT_EQ(forked.get_future().wait_for(kLimit), std::future_status::ready);
    });
    std::thread stopper([] { PelaconSvcStop(); });
    ASSERT_EQ(stopping.get_future().wait_for(kLimit), std::future_status::ready);
    EXPECT_EQ(InChild([] {
                  Channel::Get().Reset();
                  Channel::Get().Reply(protocol::kBtEnable.id, Bytes().I32(0));
                  int failed = PelaconSvcStart() != 0;
                  failed += BleManager::BtEnable() != 0;
                  failed += PelaconSvcStop() != 0;
                  return failed;
              }),
              0);
    forked.set_value();
    stopper.join();
}

TEST_F(ForkTest, AChildStopsTheLibraryWhileAParentsThreadStartsIt)
{
    PelaconSvcStop();
    std::promise<void> starting;
    std::promise<void> forked;
    channel.OnConstruct([&] {
        starting.set_value();
        EXPECT_EQ(forked.get_future().wait_for(kLimit), std::future_status::ready);
    });
    std::thread starter([] { PelaconSvcStart(); });
    ASSERT_EQ(starting.get_future().wait_for(kLimit), std::future_status::ready);
    EXPECT_EQ(InChild([] {
                  Channel::Get().Reset();
                  Channel::Get().Reply(protocol::kBtEnable.id, Bytes().I32(0));
                  int failed = PelaconSvcStop() != 0;
                  failed += BleManager::BtEnable() != -1;
                  failed += PelaconSvcStart() != 0;
                  failed += BleManager::BtEnable() != 0;
                  return failed;
              }),
              0);
    forked.set_value();
    starter.join();
}

}  // namespace

}  // namespace pelacon::test
