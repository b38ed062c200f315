// Which callers are accepted by a service that has many connections.
#include <IPCMessage/ConnectionLimits.h>

#include <gtest/gtest.h>

namespace pelacon::ipc {

namespace {

using Place = ConnectionPlace;

TEST(ConnectionLimitsTest, HaveDefaults)
{
    const ConnectionLimits limits(100'000);
    EXPECT_EQ(limits.all, 2048U);
    EXPECT_EQ(limits.perUser, 1024U);
    EXPECT_EQ(limits.perProcess, 512U);
}

TEST(ConnectionLimitsTest, AreScaledToWhatTheSystemAllows)
{
    const ConnectionLimits limits(960);
    EXPECT_EQ(limits.all, 960U);
    EXPECT_EQ(limits.perUser, 480U);
    EXPECT_EQ(limits.perProcess, 240U);
    EXPECT_GT(ConnectionLimits(0).perProcess, 0U) << "a service must be reachable";
}

TEST(ConnectionLimitsTest, AProcessAndAUserHaveTheirShares)
{
    const ConnectionLimits limits(2048);
    EXPECT_EQ(limits.PlaceFor({1023, 1023, 511}, false), Place::kAnything);
    EXPECT_EQ(limits.PlaceFor({1023, 1023, 512}, false), Place::kNone);
    EXPECT_EQ(limits.PlaceFor({1024, 1024, 0}, false), Place::kNone);
}

TEST(ConnectionLimitsTest, TheLastPlacesAreForUsersWithFewConnections)
{
    const ConnectionLimits limits(2048);
    const std::size_t forMany = limits.all - limits.forFew - limits.forCommands;
    EXPECT_EQ(limits.PlaceFor({forMany - 1, 500, 1}, false), Place::kAnything);
    EXPECT_EQ(limits.PlaceFor({forMany, 500, 1}, false), Place::kNone);
    EXPECT_EQ(limits.PlaceFor({forMany, limits.few, 1}, false), Place::kNone);
    EXPECT_EQ(limits.PlaceFor({forMany, limits.few - 1, 1}, false), Place::kAnything);
    EXPECT_EQ(limits.PlaceFor({limits.all - limits.forCommands, 0, 0}, false), Place::kNone);
}

TEST(ConnectionLimitsTest, TheVeryLastPlacesAreForOperators)
{
    const ConnectionLimits limits(2048);
    EXPECT_EQ(limits.PlaceFor({100, 50, 5}, true), Place::kAnything);
    EXPECT_EQ(limits.PlaceFor({limits.all - limits.forCommands, 0, 0}, true), Place::kCommands);
    EXPECT_EQ(limits.PlaceFor({1500, limits.perUser, 0}, true), Place::kCommands)
        << "all programs of a user's own service are that user's";
    EXPECT_EQ(limits.PlaceFor({limits.all, 0, 0}, true), Place::kNone);
}

}  // namespace

}  // namespace pelacon::ipc
