// More callers than a service has places or file descriptors for.
#include <tests/platform/IPCMessage/Fixture.h>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

namespace pelacon::test {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

using CrowdTest = ChannelTest;

/// The process can open no descriptor while this object lives.
class NoDescriptors {
  public:
    NoDescriptors()
    {
        getrlimit(RLIMIT_NOFILE, &before_);
        const int next = open("/dev/null", O_RDONLY | O_CLOEXEC);
        close(next);
        const rlimit none{static_cast<rlim_t>(next), before_.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoDescriptors() { setrlimit(RLIMIT_NOFILE, &before_); }
    NoDescriptors(const NoDescriptors&) = delete;
    NoDescriptors& operator=(const NoDescriptors&) = delete;

  private:
    rlimit before_{};
};

TEST_F(CrowdTest, CallersAreRefusedAtOnceWhenNoDescriptorIsLeft)
{
    if (kSanitized) {
        GTEST_SKIP() << "UBSan opens a pipe to check an object's type";
    }
    StartServer();
    PeerProcess caller("call-on-line");
    {
        const NoDescriptors none;
        const auto attempt = [&] {
            caller.WriteLine("");
            EXPECT_EQ(caller.ReadLine(), "not served");
        };
        EXPECT_LT(Duration(attempt), milliseconds(kNoHurry) / 2);
    }
    EXPECT_GE(server->GetStatistics().refusedPeers, 1U);
    EXPECT_THAT(handler.warnings.All(), ElementsAre(HasSubstr("no file descriptor left")));
    caller.WriteLine("");
    EXPECT_EQ(caller.ReadLine(), "served");
}

// A system's service, with few places so that it is full soon; see Roles.cpp.
TEST_F(CrowdTest, AUserLeavesPlacesToOthersAndTwoLeaveSomeToOperators)
{
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can become several users";
    }
    PeerProcess crowded("serve-crowd");
    const std::string limits = crowded.ReadLine();
    if (limits == "cannot") {
        GTEST_SKIP() << "a /run of its own is not allowed here";
    }
    EXPECT_EQ(limits, "256 places");
    EXPECT_EQ(crowded.ReadLine(), "64 of the first user's first process");
    EXPECT_EQ(crowded.ReadLine(), "64 of its second");
    EXPECT_EQ(crowded.ReadLine(), "0 of its third");
    EXPECT_EQ(crowded.ReadLine(), "a program of another user: served");
    EXPECT_EQ(crowded.ReadLine(), "64 of the second user's first process");
    EXPECT_EQ(crowded.ReadLine(), "28 of its second");
    EXPECT_EQ(crowded.ReadLine(), "a program of another user: served");
    EXPECT_EQ(crowded.ReadLine(), "16 of a third user");
    EXPECT_EQ(crowded.ReadLine(), "16 of a fourth user");
    EXPECT_EQ(crowded.ReadLine(), "a program of another user: not served");
    EXPECT_EQ(crowded.ReadLine(), "an operator's command: command");
    EXPECT_EQ(crowded.ReadLine(), "an operator's program: not served");
    EXPECT_EQ(crowded.ReadLine(), "1 warning");
}

}  // namespace

}  // namespace pelacon::test
