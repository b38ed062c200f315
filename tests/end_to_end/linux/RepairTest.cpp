// Services for which the kernel reports another path than the one that they were started with.
#include <tests/end_to_end/Repair.h>

namespace pelacon::test {

namespace {

namespace fs = std::filesystem;

TEST_F(Repair, ReachesAServiceThatIsStartedThroughASymbolicLink)
{
    const fs::path link = folder.Path() / "linked";
    fs::create_symlink(Copy(), link);
    const ServiceProcess service(std::nullopt, link.string());
    ASSERT_EQ(PelaconSvcStart(), 0);
    EXPECT_TRUE(BleManager::IsBtEnabled());
    EXPECT_TRUE(IsRepairedAfterALoss(service));
}

TEST_F(Repair, ReachesAServiceWhoseExecutableIsReplaced)
{
    const fs::path program = Copy();
    ServiceProcess service(std::nullopt, program.string());
    ASSERT_EQ(PelaconSvcStart(), 0);
    EXPECT_TRUE(BleManager::IsBtEnabled());
    fs::rename(program, folder.Path() / "old");
    fs::remove(folder.Path() / "old");
    Copy();
    EXPECT_TRUE(IsRepairedAfterALoss(service)) << "the old one, which still runs";
    service.Restart();
    EXPECT_TRUE(Eventually([&] { return Requests(service) == 1; })) << "the new one";
}

}  // namespace

}  // namespace pelacon::test
