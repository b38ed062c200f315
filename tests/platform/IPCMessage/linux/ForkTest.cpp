// Forked children of a process with a client.
#include <tests/platform/IPCMessage/Fixture.h>
#include <tests/support/linux/InChild.h>

#include <sys/wait.h>
#include <unistd.h>

namespace pelacon::test {

namespace {

using ForkTest = ChannelTest;

TEST_F(ForkTest, AChildDoesNotUseOrDisturbItsParentsConnections)
{
    StartBoth();
    EXPECT_TRUE(IsServed(*client));
    const int failures = InChild([&] {
        int failed = 0;
        const auto duration = Duration([&] {
            failed += IsServed(*client) ? 1 : 0;
            failed += Post(*client, 1, Counting(4)) ? 2 : 0;
            client->RegisterMessageCallback(7, [](TagIPCMessageItem&) {});
            failed += client->UnRegisterMessageCallbackAll() ? 0 : 4;
            client.reset();
        });
        return failed + (duration > 1s ? 8 : 0);
    });
    EXPECT_EQ(failures, 0);
    EXPECT_TRUE(IsServed(*client));
    EXPECT_EQ(handler.left.Count(), 0U);
    EXPECT_EQ(handler.posted.Count(), 0U);
    EXPECT_TRUE(Eventually([&] { return client->GetStatistics().connected == 1; }));
}

TEST_F(ForkTest, AChildDestroysItsInheritedClientWhileTheParentsThreadsHoldLocks)
{
    StartBoth();
    std::atomic<bool> done{false};
    std::thread busy([&] {
        OnThreads(4, [&](std::size_t index) {
            while (!done) {
                if (index % 2 == 0) {
                    EXPECT_TRUE(IsServed(*client));
                } else {
                    EXPECT_TRUE(Post(*client, 1, Counting(4)));
                    EXPECT_TRUE(IsServed(*client));
                }
            }
        });
    });
    for (int round = 0; round < 20; ++round) {
        EXPECT_EQ(InChild([&] {
                      const bool served = IsServed(*client) || Post(*client, 1, {});
                      client.reset();
                      return served ? 1 : 0;
                  }),
                  0);
    }
    done = true;
    busy.join();
    EXPECT_EQ(handler.left.Count(), 0U);
}

TEST_F(ForkTest, AClientMadeInTheChildWorks)
{
    if (kThreadSanitized) {
        GTEST_SKIP() << "ThreadSanitizer ends a forked child that starts a thread";
    }
    PeerProcess service("serve");
    ASSERT_EQ(service.ReadLine(), "ready");
    StartClient();
    EXPECT_TRUE(IsServed(*client));
    EXPECT_EQ(InChild([&] {
                  const IPCMessageClient own(1, false, false, kPipe);
                  const int failed = (IsServed(own) ? 0 : 1) + (IsServed(*client) ? 2 : 0);
                  client.reset();
                  return failed + (IsServed(own) ? 0 : 4);
              }),
              0);
    EXPECT_TRUE(IsServed(*client));
}

TEST_F(ForkTest, AChildKeepsNoConnectionOfItsParentOpen)
{
    StartBoth();
    EXPECT_TRUE(IsServed(*client));
    int begin[2];
    int end[2];
    ASSERT_EQ(pipe(begin), 0);
    ASSERT_EQ(pipe(end), 0);
    char byte = 0;
    const pid_t child = fork();
    if (child == 0) {
        close(end[1]);
        const bool begun = write(begin[1], &byte, 1) == 1;
        _exit(begun && read(end[0], &byte, 1) == 0 ? 0 : 1);
    }
    close(end[0]);
    ASSERT_EQ(read(begin[0], &byte, 1), 1) << "the child does not run";
    close(begin[0]);
    close(begin[1]);
    // The client sends no farewell: the service notices that the descriptors are closed.
    const std::string address = server->Address();
    client.reset();
    handler.left.WaitFor(1);
    server.reset();
    StartServer();  // the child does not hold the lock either
    EXPECT_EQ(server->Address(), address);
    close(end[1]);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}

}  // namespace

}  // namespace pelacon::test
