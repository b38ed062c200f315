// One test, in a program of its own: the library counts these threads for the life of the process.
#include <sdk/diag/TraverseProcesses.h>
#include <tests/support/SdkTest.h>

#include <system_error>

namespace pelacon::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST_F(StoppedSdkTest, TraverseProcessesLogsTenRounds)
{
    // Threads that could not be created are not counted.
    Threads::Use(ThreadMode::kFailing);
    EXPECT_THROW(TraverseProcesses(), std::system_error);
    EXPECT_NO_THROW(TryTraverseProcesses("Caller"));
    ASSERT_EQ(LogLines::All().size(), 1U);
    EXPECT_EQ(LogLines::All().front().level, 4);
    EXPECT_THAT(LogLines::All().front().text, ::testing::EndsWith("(Caller)"));
    ForgetWhatHappened();

    // The work is done on the thread, not by the caller.
    Threads::Use(ThreadMode::kKept);
    Processes::Set({{0, "", L"idle"}, {1, "/sbin/init", L"init"}, {4000000000, "", L"<unknown>"}});
    TraverseProcesses();
    EXPECT_THAT(LogLines::All(), IsEmpty());
    Threads::RunKept();
    EXPECT_THAT(
        LogLines::All(),
        ElementsAre(
            Line(1, "traverseProcesses, processID:1, Process Name:init", "TraverseProcesses"),
            Line(1, "traverseProcesses, processID:4000000000, Process Name:<unknown>",
                 "TraverseProcesses")));
    ForgetWhatHappened();

    // A list that is longer than the limit of the walk.
    Processes::Set(std::vector<Processes::Process>(1500, {7, "/bin/x", L"x"}));
    TraverseProcesses();
    Threads::RunKept();
    EXPECT_EQ(LogLines::All().size(), 1024U);

    Threads::Use(ThreadMode::kDetached);
    for (int time = 3; time <= 9; ++time) {
        TryTraverseProcesses("Caller");
    }
    Threads::WaitForAll();
    EXPECT_EQ(Threads::Started(), 9);
    TraverseProcesses();
    EXPECT_EQ(Threads::Started(), 10);
    Threads::WaitForAll();

    ForgetWhatHappened();
    TraverseProcesses();
    TryTraverseProcesses("Caller");
    Threads::WaitForAll();
    EXPECT_EQ(Threads::Started(), 10);
    EXPECT_THAT(Journal::Entries(), IsEmpty());
}

}  // namespace

}  // namespace pelacon::test
