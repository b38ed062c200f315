// Tests that need their own process, as they give up rights and resources.
#include <os/Processes.h>
#include <os/Threads.h>
#include <tests/support/TemporaryFolder.h>
#include <tests/support/linux/InChild.h>

#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <system_error>

extern char** environ;  // NOLINT(readability-redundant-declaration): not in every unistd.h

namespace {

using namespace pelacon::os;

using pelacon::test::InChild;

TEST(VisitProcessPathsTest, ReturnsFalseWithoutAList)
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

TEST(VisitProcessPathsTest, UsesTheCommandLineWhereTheLinkMayNotBeRead)
{
    constexpr uid_t kNobody = 65534;
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can change its user";
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

TEST(VisitProcessPathsTest, VisitsAReplacedExecutableByItsPath)
{
    const pelacon::test::TemporaryFolder folder;
    const std::filesystem::path program = std::filesystem::canonical(folder.Path()) / "program";
    std::filesystem::copy_file("/bin/sleep", program);
    std::string name = program.string();
    std::string seconds = "60";
    char* const arguments[] = {name.data(), seconds.data(), nullptr};
    pid_t child = 0;
    ASSERT_EQ(posix_spawn(&child, name.c_str(), nullptr, nullptr, arguments, environ), 0);
    std::filesystem::remove(program);
    std::string path;
    VisitProcessPaths([&](std::uint32_t id, const std::string& found) {
        if (id == static_cast<std::uint32_t>(child)) {
            path = found;
        }
        return path.empty();
    });
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    EXPECT_EQ(path, program.string());
}

}  // namespace
