// The state of the service in a forked child.
#include <PelaconSDK/PelaconSDK.h>
#include <tests/support/ServiceProcess.h>
#include <tests/support/linux/InChild.h>

#include <gtest/gtest.h>

#include <atomic>

namespace pelacon::test {

namespace {

std::atomic<int> calls{0};
std::atomic<int> failedInChild{-1};

/// Returns the number of failed steps.
int StartInChild()
{
    int failed = PelaconGetServiceState() == kPelaconServiceNotFound ? 0 : 1;
    calls = 0;
    failed += PelaconSvcStop() == 0 ? 0 : 1;
    failed += PelaconSvcStart() == 0 ? 0 : 1;
    failed += Eventually([] { return calls == 1; }) ? 0 : 1;
    failed += PelaconGetServiceState() == kPelaconServiceAvailable ? 0 : 1;
    return failed;
}

class ServiceStateFork : public ::testing::Test {
  protected:
    ~ServiceStateFork() override
    {
        PelaconSetServiceSink(nullptr, nullptr);
        PelaconSvcStop();
    }

    ServiceProcess service;
};

TEST_F(ServiceStateFork, AChildFindsNoServiceUntilItStartsTheLibrary)
{
    PelaconSetServiceSink(nullptr, [](void*, PelaconServiceState) { ++calls; });
    ASSERT_EQ(PelaconSvcStart(), 0);
    ASSERT_TRUE(Eventually([] { return calls == 1; }));
    EXPECT_EQ(InChild([] { return StartInChild(); }), 0);
    EXPECT_EQ(PelaconGetServiceState(), kPelaconServiceAvailable) << "in the parent";
}

TEST_F(ServiceStateFork, ASinkMayFork)
{
    PelaconSetServiceSink(nullptr, [](void*, PelaconServiceState state) {
        if (state == kPelaconServiceLost) {
            failedInChild = InChild([] {
                PelaconSetServiceSink(nullptr, [](void*, PelaconServiceState) { ++calls; });
                PelaconSvcStop();
                return PelaconSvcStart();
            });
        }
    });
    ASSERT_EQ(PelaconSvcStart(), 0);
    ASSERT_TRUE(Eventually([] { return PelaconGetServiceState() == kPelaconServiceAvailable; }));
    service.Kill();
    EXPECT_TRUE(Eventually([] { return failedInChild == 0; }));
}

}  // namespace

}  // namespace pelacon::test
