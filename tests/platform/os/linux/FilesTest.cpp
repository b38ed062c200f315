#include <os/Files.h>
#include <tests/support/linux/InChild.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <memory>
#include <string>

namespace {

struct Closed {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, Closed>;

TEST(OpenToAppendTest, StartedProgramsDoNotInheritTheFile)
{
    const std::string path = ::testing::TempDir() + "append-" + std::to_string(getpid());
    const File file(pelacon::os::OpenToAppend(path));
    ASSERT_NE(file, nullptr);
    unlink(path.c_str());
    EXPECT_EQ(fcntl(fileno(file.get()), F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(fcntl(fileno(file.get()), F_GETFL) & O_APPEND, O_APPEND);
}

TEST(OpenToAppendTest, TakesNoStandardStreamsNumber)
{
    const std::string path = ::testing::TempDir() + "standard-" + std::to_string(getpid());
    EXPECT_EQ(pelacon::test::InChild([&] {
                  close(STDIN_FILENO);
                  close(STDERR_FILENO);
                  const File file(pelacon::os::OpenToAppend(path));
                  return file && fileno(file.get()) > STDERR_FILENO ? 0 : 1;
              }),
              0);
    EXPECT_EQ(unlink(path.c_str()), 0);
}

TEST(WriteAndCloseTest, LeavesNoStandardStreamClosed)
{
    EXPECT_EQ(pelacon::test::InChild([] {
                  const bool written = pelacon::os::WriteAndClose(STDOUT_FILENO, "");
                  return written && pelacon::os::IsOpenForWriting(STDOUT_FILENO) ? 0 : 1;
              }),
              0);
}

TEST(WriteAndCloseTest, ClosesAnyOtherDescriptor)
{
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
    EXPECT_FALSE(pelacon::os::IsOpenForWriting(ends[0]));
    EXPECT_TRUE(pelacon::os::IsOpenForWriting(ends[1]));
    EXPECT_TRUE(pelacon::os::WriteAndClose(ends[1], "text"));
    EXPECT_FALSE(pelacon::os::IsOpenForWriting(ends[1]));
    std::array<char, 8> text{};
    EXPECT_EQ(read(ends[0], text.data(), text.size()), 4);
    EXPECT_EQ(read(ends[0], text.data(), text.size()), 0);
    EXPECT_FALSE(pelacon::os::WriteAndClose(ends[0], "text"));
}

TEST(OpenToAppendTest, IsNullWhereNoFileCanBeCreated)
{
    EXPECT_EQ(pelacon::os::OpenToAppend("/no/such/folder/file"), nullptr);
    EXPECT_EQ(pelacon::os::OpenToAppend(""), nullptr);
}

}  // namespace
