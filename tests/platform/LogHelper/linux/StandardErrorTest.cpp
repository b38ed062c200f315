// PELACON_LOG where standard error is not what it usually is.
#include <tests/support/TemporaryFolder.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <string>
#include <vector>

namespace {

using pelacon::test::TemporaryFolder;

/// Runs the writer with this as its standard error, or none; `file` is what it opens first.
void RunWriter(int standardError, const std::string& file, const std::string& variable = "NONE=")
{
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    if (standardError < 0) {
        posix_spawn_file_actions_addclose(&actions, STDERR_FILENO);
    } else {
        posix_spawn_file_actions_adddup2(&actions, standardError, STDERR_FILENO);
    }
    std::string program = LOG_WRITER;
    std::string sink = "sink";
    std::string opened = file;
    std::string level = "PELACON_LOG=1";
    std::string other = variable;
    std::array<char*, 4> arguments{program.data(), sink.data(), opened.data(), nullptr};
    std::array<char*, 3> environment{level.data(), other.data(), nullptr};
    pid_t id = 0;
    ASSERT_EQ(
        posix_spawn(&id, program.c_str(), &actions, nullptr, arguments.data(), environment.data()),
        0);
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    ASSERT_EQ(waitpid(id, &status, 0), id);
    EXPECT_EQ(status, 0);
}

/// A pair of connected sockets.
class Sockets {
  public:
    Sockets() { EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends_.data()), 0); }
    ~Sockets()
    {
        close(ends_[0]);
        close(ends_[1]);
    }
    Sockets(const Sockets&) = delete;
    Sockets& operator=(const Sockets&) = delete;

    int End() const { return ends_[0]; }

    /// What was written to the end, so far.
    std::string Written() const
    {
        std::array<char, 4096> text{};
        const ssize_t size = recv(ends_[1], text.data(), text.size(), MSG_DONTWAIT);
        return {text.data(), size > 0 ? static_cast<std::size_t>(size) : 0};
    }

  private:
    std::array<int, 2> ends_{};
};

TEST(StandardErrorTest, IsNotWhatTheApplicationOpensInItsPlace)
{
    const TemporaryFolder folder;
    const std::string file = folder.File("own");
    RunWriter(-1, file);
    EXPECT_EQ(std::filesystem::file_size(file), 0U);
}

TEST(StandardErrorTest, TakesNoLinesWhereItIsASocket)
{
    const TemporaryFolder folder;
    const Sockets sockets;
    RunWriter(sockets.End(), folder.File("own"));
    EXPECT_EQ(sockets.Written(), "");
}

TEST(StandardErrorTest, TakesLinesWhereItsSocketIsTheSystemsJournal)
{
    const TemporaryFolder folder;
    const Sockets sockets;
    struct stat status {};
    ASSERT_EQ(fstat(sockets.End(), &status), 0);
    RunWriter(
        sockets.End(), folder.File("own"),
        "JOURNAL_STREAM=" + std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino));
    EXPECT_NE(sockets.Written().find(" E line 4 "), std::string::npos);
}

}  // namespace
