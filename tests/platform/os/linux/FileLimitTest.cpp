#include <os/FileLimit.h>

#include <gtest/gtest.h>
#include <sys/resource.h>

namespace pelacon::os {

namespace {

TEST(FileLimitTest, RaisesTheLimitToItsMaximum)
{
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit low{64, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &low), 0);
    RaiseFileLimit();
    rlimit after{};
    EXPECT_EQ(getrlimit(RLIMIT_NOFILE, &after), 0);
    EXPECT_EQ(after.rlim_cur, before.rlim_max);
    EXPECT_EQ(after.rlim_max, before.rlim_max);
    setrlimit(RLIMIT_NOFILE, &before);
}

}  // namespace

}  // namespace pelacon::os
