#include <tests/end_to_end/Repair.h>

namespace pelacon::test {

namespace {

TEST_F(Repair, ReachesAServiceThatRunsFromAnotherPath)
{
    const ServiceProcess service(std::nullopt, Copy().string());
    ASSERT_EQ(PelaconSvcStart(), 0);
    EXPECT_TRUE(BleManager::IsBtEnabled());
    EXPECT_TRUE(IsRepairedAfterALoss(service));
}

}  // namespace

}  // namespace pelacon::test
