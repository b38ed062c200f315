// Logging in a child that fork makes while other threads log.
#include <LogHelper/KvLogger.h>
#include <tests/support/TemporaryFolder.h>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <sstream>
#include <string>
#include <thread>

namespace {

void LogALine()
{
    std::wstringstream line;
    line << L"line";
    KvLogger::GetInstance().Log(kLogFailure, line);
}

TEST(LogForkTest, AChildDoesNotWaitForAThreadOfItsParent)
{
    const pelacon::test::TemporaryFolder folder;
    setenv("PELACON_LOG", ("4:" + folder.File("log")).c_str(), 1);
    std::atomic<bool> done{false};
    std::thread other([&] {
        while (!done) {
            LogALine();
        }
    });
    for (int round = 0; round < 200; ++round) {
        const pid_t child = fork();
        if (child == 0) {
            LogALine();
            _exit(3);
        }
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 3) << status;
    }
    done = true;
    other.join();
}

}  // namespace
