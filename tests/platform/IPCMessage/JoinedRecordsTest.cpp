// Records that hold several notifications.
#include <IPCMessage/NotificationBatch.h>
#include <tests/platform/IPCMessage/Fixture.h>
#include <tests/platform/IPCMessage/RawPeers.h>

#include <algorithm>
#include <cstring>
#include <thread>

namespace pelacon::test {

namespace {

using ipc::FrameHeader;
using ipc::FrameKind;
using ipc::NotificationBatch;

constexpr FrameHeader kNotification{
    .kind = FrameKind::kNotification, .flags = ipc::kHasPayload, .msgId = 7};

ByteVector Joined(const std::vector<ByteVector>& frames)
{
    ByteVector record;
    for (const ByteVector& frame : frames) {
        record.insert(record.end(), frame.begin(), frame.end());
    }
    return record;
}

class JoinedRecordsTest : public ChannelTest {
  protected:
    void StartReader()
    {
        StartClient();
        client->RegisterMessageCallback(7, [this](TagIPCMessageItem& item) {
            isPadded = isPadded && std::all_of(item.message + item.length, item.message + 2048,
                                               [](std::uint8_t byte) { return byte == 0; });
            received.Put(Message(item));
        });
    }

    /// An event connection that is not read from yet.
    std::unique_ptr<RawClient> StartIdler(std::int32_t reservedC)
    {
        StartServer();
        auto idler = std::make_unique<RawClient>();
        EXPECT_TRUE(idler->Send({.kind = FrameKind::kHelloEvent, .reservedC = reservedC},
                                ByteVector(sizeof(ipc::Token), 1)));
        clientId = handler.arrived.WaitFor(1).front().id;
        EXPECT_EQ(idler->Receive()->kind, FrameKind::kWelcome);
        return idler;
    }

    void Notify(std::uint32_t number, std::size_t size)
    {
        ByteVector payload(size);
        std::memcpy(payload.data(), &number, sizeof number);
        ASSERT_TRUE(server->Notify(clientId, 7, payload));
    }

    // More than the system holds for a client that does not read, and less than the service queues.
    static constexpr std::uint32_t kCount = 1000;
    static constexpr std::size_t kSize = 400;

    std::uint32_t next = 0;
    bool isPadded = true;  // used by the receiver's thread, until `received` is read
    Mailbox<Message> received;
};

/// The numbers of the notifications in a record.
std::vector<std::uint32_t> NumbersIn(std::span<const std::uint8_t> record)
{
    std::vector<std::uint32_t> numbers;
    while (!record.empty()) {
        const auto length = ipc::LengthOfFirst(record);
        if (!length) {
            ADD_FAILURE() << "the record ends with what is no frame";
            break;
        }
        EXPECT_EQ(ipc::ReadFrame(record.first(*length))->kind, FrameKind::kNotification);
        std::memcpy(&numbers.emplace_back(), record.data() + sizeof(FrameHeader),
                    sizeof(std::uint32_t));
        record = record.subspan(*length);
    }
    return numbers;
}

/// Reads records until one ends with that number. Returns the numbers of each.
std::vector<std::vector<std::uint32_t>> ReadUntil(RawClient& client, std::uint32_t last)
{
    std::vector<std::vector<std::uint32_t>> records;
    const ipc::FrameBuffer buffer;
    do {
        ipc::Deadline deadline(kPatience);
        const ipc::IoResult result = client.Get().Receive(buffer.Room(), deadline);
        if (result.status != ipc::IoStatus::kDone) {
            ADD_FAILURE() << "nothing was received";
            break;
        }
        records.push_back(NumbersIn(buffer.Room().first(result.size)));
    } while (!records.back().empty() && records.back().back() != last);
    return records;
}

std::vector<std::uint32_t> Flat(const std::vector<std::vector<std::uint32_t>>& records)
{
    std::vector<std::uint32_t> all;
    for (const auto& record : records) {
        all.insert(all.end(), record.begin(), record.end());
    }
    return all;
}

std::size_t Longest(const std::vector<std::vector<std::uint32_t>>& records)
{
    std::size_t longest = 0;
    for (const auto& record : records) {
        longest = std::max(longest, record.size());
    }
    return longest;
}

std::vector<std::uint32_t> UpTo(std::uint32_t count)
{
    std::vector<std::uint32_t> numbers(count);
    std::generate(numbers.begin(), numbers.end(), [n = 0U]() mutable { return n++; });
    return numbers;
}

TEST_F(JoinedRecordsTest, AreSentToAClientThatReadsThemAndIsSlow)
{
    const auto idler = StartIdler(ipc::kReadsJoined);
    for (std::uint32_t number = 0; number < kCount; ++number) {
        Notify(number, number % 7 + kSize);
    }
    const auto records = ReadUntil(*idler, kCount - 1);
    EXPECT_EQ(Flat(records), UpTo(kCount));
    EXPECT_EQ(Longest(records), ipc::kMostJoined);
}

TEST_F(JoinedRecordsTest, AreNotSentToAClientThatDoesNotReadThem)
{
    const auto idler = StartIdler(0);
    for (std::uint32_t number = 0; number < kCount; ++number) {
        Notify(number, kSize);
    }
    const auto records = ReadUntil(*idler, kCount - 1);
    EXPECT_EQ(Flat(records), UpTo(kCount));
    EXPECT_EQ(Longest(records), 1U);
}

TEST_F(JoinedRecordsTest, AreNotLong)
{
    const auto idler = StartIdler(ipc::kReadsJoined);
    {
        const NotificationBatch batch;
        for (const std::size_t size : {8'000U, 8'000U, 8'000U, 60'000U, 4U}) {
            Notify(next++, size);
        }
    }
    EXPECT_EQ(ReadUntil(*idler, 4),
              (std::vector<std::vector<std::uint32_t>>{{0, 1}, {2}, {3}, {4}}));
}

TEST_F(JoinedRecordsTest, AreSentAtTheEndOfABatch)
{
    const auto idler = StartIdler(ipc::kReadsJoined);
    {
        const NotificationBatch batch;
        Notify(0, 4);
        {
            const NotificationBatch inner;
            Notify(1, 4);
        }
        NotificationBatch::Flush();
        Notify(2, 4);
        Notify(3, 4);
        std::thread([&] { Notify(4, 4); }).join();  // this thread has no batch
        Notify(5, 4);
    }
    Notify(6, 4);
    EXPECT_EQ(ReadUntil(*idler, 6),
              (std::vector<std::vector<std::uint32_t>>{{0, 1}, {2, 3, 4}, {5}, {6}}));
}

TEST_F(JoinedRecordsTest, OfABatchReachTheClientsTheyAreFor)
{
    const auto idler = StartIdler(ipc::kReadsJoined);
    RawClient other;
    ASSERT_TRUE(other.Send({.kind = FrameKind::kHelloEvent, .reservedC = ipc::kReadsJoined},
                           ByteVector(sizeof(ipc::Token), 2)));
    const std::uint64_t otherId = handler.arrived.WaitFor(2).back().id;
    EXPECT_EQ(other.Receive()->kind, FrameKind::kWelcome);
    {
        const NotificationBatch batch;
        for (std::uint32_t number = 0; number < 6; ++number) {
            ASSERT_TRUE(server->Notify(number % 2 == 0 ? clientId : otherId, 7,
                                       ByteVector(Bytes().U32(number))));
        }
    }
    EXPECT_EQ(ReadUntil(*idler, 4), (std::vector<std::vector<std::uint32_t>>{{0, 2, 4}}));
    EXPECT_EQ(ReadUntil(other, 5), (std::vector<std::vector<std::uint32_t>>{{1, 3, 5}}));
}

TEST_F(JoinedRecordsTest, AreReadByAClientThatAnnouncesIt)
{
    RawService service;
    StartReader();
    auto events = service.Accept(FrameKind::kHelloEvent);
    EXPECT_EQ(events->Header().reservedC, ipc::kReadsJoined);
    events->Send({.kind = FrameKind::kWelcome});
    std::vector<ByteVector> frames;
    for (const std::size_t size : {300U, 0U, 2'048U, 1U}) {
        frames.push_back(MakeFrame(kNotification, Counting(size), "a name"));
    }
    ASSERT_TRUE(events->SendBytes(Joined(frames)));
    ASSERT_TRUE(events->Send(kNotification, Counting(5)));
    const std::vector<Message> all = received.WaitFor(5);
    EXPECT_EQ(all[0].payload, Counting(300));
    EXPECT_EQ(all[0].item.name, "a name");
    EXPECT_EQ(all[1].payload, Counting(0));
    EXPECT_EQ(all[2].payload, Counting(2'048));
    EXPECT_EQ(all[3].payload, Counting(1));
    EXPECT_EQ(all[4].payload, Counting(5));
    EXPECT_TRUE(isPadded);
    client.reset();
}

TEST_F(JoinedRecordsTest, EndTheConnectionWhereAPartIsWrong)
{
    RawService service;
    StartReader();
    const ByteVector good = MakeFrame(kNotification, Counting(4));
    ByteVector cut = good;
    cut.pop_back();
    ByteVector stretched = good;
    stretched[sizeof(FrameHeader) - 12] = 200;  // the payload's length
    const std::vector<std::pair<const char*, ByteVector>> bad = {
        {"cut short", cut},
        {"a payload that reaches beyond the record", stretched},
        {"one byte", ByteVector(1, 0x33)},
        {"no frame", ByteVector(80, 0x33)},
        {"a welcome", MakeFrame({.kind = FrameKind::kWelcome})},
        {"a reply", MakeFrame({.kind = FrameKind::kReply})}};
    std::size_t count = 0;
    for (const auto& [what, bytes] : bad) {
        auto events = service.AcceptEvents();
        EXPECT_TRUE(events->SendBytes(Joined({good, bytes})));
        EXPECT_TRUE(events->IsClosed()) << what;
        EXPECT_EQ(received.Count(), ++count) << what;
    }
    auto empty = service.AcceptEvents();
    EXPECT_TRUE(empty->Send(kNotification, Counting(4)));
    EXPECT_TRUE(empty->SendBytes({}));
    EXPECT_TRUE(empty->IsClosed());
    EXPECT_EQ(received.Count(), ++count);
    auto unwelcome = service.Accept(FrameKind::kHelloEvent);
    unwelcome->SendBytes(Joined({MakeFrame({.kind = FrameKind::kWelcome}), good}));
    EXPECT_TRUE(unwelcome->IsClosed());
    EXPECT_EQ(received.Count(), count);
    client.reset();
}

}  // namespace

}  // namespace pelacon::test
