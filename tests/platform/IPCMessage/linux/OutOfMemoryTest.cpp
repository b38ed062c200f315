// Receiving from a socket when there is no memory.
#include <tests/platform/IPCMessage/RawPeers.h>
#include <tests/support/FailingAllocations.h>

#include <gtest/gtest.h>
#include <malloc.h>
#include <platform/IPCMessage/linux/SocketConnection.h>
#include <sys/socket.h>

#include <array>
#include <new>
#include <string>

namespace pelacon::test {

namespace {

using ipc::FrameBatch;
using ipc::FrameBuffer;
using ipc::FrameHeader;
using ipc::FrameKind;
using ipc::IoStatus;
using ipc::SocketConnection;

TEST(SocketOutOfMemoryTest, ABatchThatCannotBeReceivedEndsTheConnectionOnly)
{
    std::array<int, 2> ends{};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()), 0);
    SocketConnection receiver([&] { return ends[0]; });
    SocketConnection sender([&] { return ends[1]; });
    const ByteVector frame = MakeFrame({.kind = FrameKind::kWelcome});
    ASSERT_EQ(sender.Send(frame), IoStatus::kDone);
    FrameBatch batch;
    IoStatus status = IoStatus::kDone;
    {
        const FailingAllocations memory(0);
        status = receiver.ReceiveSome(batch);
    }
    EXPECT_EQ(status, IoStatus::kLost);
    EXPECT_EQ(batch.count, 0U);
    EXPECT_EQ(receiver.ReceiveSome(batch), IoStatus::kDone) << "nothing was taken from the socket";
    EXPECT_EQ(batch.count, 1U);
}

// Under a sanitizer the allocator counts nothing; AddressSanitizer reports the leak itself.
TEST(SocketOutOfMemoryTest, ACopyWhoseNameHasNoMemoryIsFreed)
{
    constexpr std::size_t kSize = 50'000;  // from malloc's arena, which counts it
    FrameBuffer buffer;
    const ByteVector frame = MakeFrame({.kind = FrameKind::kReply, .flags = ipc::kHasPayload},
                                       Counting(kSize), std::string(255, 'n'));
    std::copy(frame.begin(), frame.end(), buffer.Room().begin());
    const auto header = buffer.Read(frame.size());
    ASSERT_TRUE(header);
    TagIPCMessageItem item;
    bool thrown = false;
    const std::size_t before = mallinfo2().uordblks;
    try {
        const FailingAllocations memory(0);
        static_cast<void>(buffer.CopyItem(*header, item));
    } catch (const std::bad_alloc&) {
        thrown = true;
    }
    EXPECT_LT(mallinfo2().uordblks, before + kSize);
    EXPECT_TRUE(thrown);
    EXPECT_EQ(item.message, nullptr);
}

}  // namespace

}  // namespace pelacon::test
