// Not under sanitizers, which need address space of their own for each thread.
#include <os/Threads.h>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <system_error>

namespace {

TEST(StartDetachedThreadTest, ThrowsWhenNoThreadCanBeCreated)
{
    const pid_t child = fork();
    if (child == 0) {
        alarm(10);
        const rlimit none{1, 1};
        int result = setrlimit(RLIMIT_AS, &none) == 0 ? 1 : 2;
        try {
            // Stacks of threads that have ended serve for more, and other tests start a thousand.
            for (int thread = 0; thread < 2000; ++thread) {
                pelacon::os::StartDetachedThread([] { pause(); });
            }
        } catch (const std::system_error& error) {
            result = error.code() == std::errc::resource_unavailable_try_again ? 0 : 4;
        }
        _exit(result);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status)) << status;
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

}  // namespace
