// What callbacks may do.
#include <PelaconSDK/BleManager.h>
#include <tests/sdk/Families.h>
#include <tests/support/SdkTest.h>

#include <thread>

namespace pelacon::test {

namespace {

class CallbackTest : public SdkTest, public ::testing::WithParamInterface<Family> {
  protected:
    void SetUp() override
    {
        SdkTest::SetUp();
        ScriptAnswers(GetParam());
    }
    void TearDown() override
    {
        inCallback = nullptr;
        SdkTest::TearDown();
    }
};

TEST_P(CallbackTest, MayRegisterAndCallOperations)
{
    GetParam().registerTable();
    int calls = 0;
    inCallback = [&] {
        if (++calls == 1) {
            GetParam().registerTable();
            EXPECT_EQ(GetParam().call(), 0);
        }
    };
    Notify(GetParam());
    EXPECT_EQ(calls, 1) << "what is registered inside a callback is not called for the same change";
    Notify(GetParam());
    EXPECT_GE(calls, 2);
}

// What docs/guide/concepts.md says of them; results of scans and targeted advertisements, which
// have threads of their own, are tested with their families.
TEST_P(CallbackTest, RunsOnTheReceiveThread)
{
    GetParam().registerTable();
    std::thread::id thread;
    inCallback = [&] { thread = std::this_thread::get_id(); };
    Notify(GetParam());
    EXPECT_EQ(thread, std::this_thread::get_id());
}

INSTANTIATE_TEST_SUITE_P(Families, CallbackTest, ::testing::ValuesIn(Families()),
                         [](const auto& test) { return test.param.name; });

}  // namespace

}  // namespace pelacon::test
