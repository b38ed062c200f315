// What only a process of its own can try: it gives up rights and resources.
#include <os/Fork.h>
#include <os/Processes.h>
#include <os/Threads.h>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <string>
#include <system_error>

namespace {

using namespace pelacon::os;  // NOLINT(google-build-using-namespace)

/// What the body returned in a child process, or -1 when the child did not end by itself in time.
int InChild(const std::function<int()>& body)
{
    const pid_t child = fork();
    if (child == 0) {
        alarm(10);
        _exit(body());
    }
    int status = 0;
    return waitpid(child, &status, 0) == child && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(VisitProcessPathsTest, SaysWhenThereIsNoList)
{
    EXPECT_EQ(InChild([] {
                  const rlimit none{0, 0};
                  if (setrlimit(RLIMIT_NOFILE, &none) != 0) {
                      return 2;
                  }
                  return VisitProcessPaths([](auto, const auto&) { return true; }) ? 1 : 0;
              }),
              0);
}

TEST(VisitProcessPathsTest, TakesTheCommandLineWhereTheLinkMayNotBeRead)
{
    constexpr uid_t kNobody = 65534;
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can become somebody else";
    }
    const pid_t root = getpid();
    const std::string argument = ::testing::internal::GetArgvs().front();
    EXPECT_EQ(InChild([&] {
                  if (setgid(kNobody) != 0 || setuid(kNobody) != 0) {
                      return 2;
                  }
                  std::string path;
                  VisitProcessPaths([&](std::uint32_t id, const std::string& found) {
                      if (id == static_cast<std::uint32_t>(root)) {
                          path = found;
                      }
                      return path.empty();
                  });
                  return path == argument ? 0 : 1;
              }),
              0);
}

std::atomic<int> forked{0};

TEST(OnForkedChildTest, RunsInTheChildOnly)
{
    OnForkedChild([] { ++forked; });
    EXPECT_EQ(InChild([] { return forked.load(); }), 1);
    EXPECT_EQ(forked, 0);
}

}  // namespace
