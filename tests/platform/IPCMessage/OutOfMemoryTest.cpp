// The message client when there is no memory.
#include <tests/platform/IPCMessage/Fixture.h>
#include <tests/support/FailingAllocations.h>

namespace pelacon::test {

namespace {

using OutOfMemoryTest = ChannelTest;

TEST_F(OutOfMemoryTest, AClientEndsWithoutMemory)
{
    StartServer();
    StartClient();
    client->RegisterMessageCallback(1, [](TagIPCMessageItem&) {});
    bool ended = false;
    {
        const FailingAllocations memory(0);
        ended = client->UnRegisterMessageCallbackAll();
        client.reset();
    }
    EXPECT_TRUE(ended);
}

}  // namespace

}  // namespace pelacon::test
