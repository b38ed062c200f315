#include <os/Files.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

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

TEST(OpenToAppendTest, IsNullWhereNoFileCanBeCreated)
{
    EXPECT_EQ(pelacon::os::OpenToAppend("/no/such/folder/file"), nullptr);
    EXPECT_EQ(pelacon::os::OpenToAppend(""), nullptr);
}

}  // namespace
