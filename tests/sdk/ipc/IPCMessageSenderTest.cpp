#include <PelaconSDK/PelaconSvc.h>
#include <sdk/ipc/IPCMessageSender.h>
#include <tests/support/SdkTest.h>

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <thread>
#include <vector>

namespace pelacon::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::int32_t kRequest = 0xD7005C;

IPCMessageSender& Sender()
{
    return IPCMessageSender::GetInstance();
}

/// A reply record that frees what it was given.
struct ReplyRecord : TagIPCMessageItem {
    ReplyRecord() = default;
    ~ReplyRecord() { std::free(message); }
    ReplyRecord(const ReplyRecord&) = delete;
    ReplyRecord& operator=(const ReplyRecord&) = delete;
};

TEST_F(StoppedSdkTest, RequestBeforeStartIsRefused)
{
    ReplyRecord reply;
    reply.msgId = 17;
    reply.length = 18;
    const ByteVector payload = Counting(4);
    EXPECT_FALSE(Sender().SendIPCMessageToService(kRequest, payload.data(), 4, 10000, reply));
    EXPECT_EQ(reply.msgId, 17);
    EXPECT_EQ(reply.length, 18U);
    EXPECT_EQ(reply.message, nullptr);
    EXPECT_THAT(Journal::Entries(), ElementsAre("log 3 pIpcMessageSender is nullptr, return"
                                                "(IPCMessageSender::SendIPCMessageToService)"));
}

TEST_F(StoppedSdkTest, PostBeforeStartIsRefused)
{
    const ByteVector payload = Counting(16);
    EXPECT_FALSE(Sender().PostIPCMessageToService(0xD70048, payload.data()));
    EXPECT_THAT(Journal::Entries(), ElementsAre("log 3 pIpcMessageSender is nullptr, return"
                                                "(IPCMessageSender::PostIPCMessageToService)"));
}

TEST_F(SdkTest, RequestCarriesTheRecord)
{
    const ByteVector payload = Counting(5);
    channel.OnRequest(kRequest, [&](const Sent& sent) {
        EXPECT_EQ(sent.item.message, payload.data()) << "the caller's own buffer is pointed at";
    });
    ReplyRecord reply;
    EXPECT_TRUE(Sender().SendIPCMessageToService(kRequest, payload.data(), 5, 1234, reply));
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(kRequest, Counting(5), 1234));
    EXPECT_THAT(LogLines::All(), IsEmpty());
}

TEST_F(SdkTest, RequestRecordByteByByte)
{
    std::array<std::uint8_t, 80> raw{};
    channel.OnRequest(kRequest, [&](const Sent& sent) {
        std::memcpy(raw.data(), static_cast<const void*>(&sent.item), raw.size());
    });
    ReplyRecord reply;
    const ByteVector payload = Counting(3);
    Sender().SendIPCMessageToService(kRequest, payload.data(), 3, 10000, reply);

    const auto word = [&](std::size_t offset) {
        std::int32_t value = 0;
        std::memcpy(&value, raw.data() + offset, sizeof value);
        return value;
    };
    EXPECT_EQ(word(32), 14090240);
    EXPECT_EQ(word(36), 14155776);
    EXPECT_EQ(word(40), kRequest);
    EXPECT_EQ(word(44), -1);
    EXPECT_EQ(word(48), -1);
    EXPECT_EQ(word(52), 0);
    EXPECT_EQ(word(56), 3);
    EXPECT_EQ(word(60), 0);
    EXPECT_EQ(word(72), 0);
    EXPECT_EQ(word(76), static_cast<std::int32_t>(Processes::kOwnId));
}

TEST_F(SdkTest, RequestWithoutPayload)
{
    channel.OnRequest(kRequest, [](const Sent& sent) { EXPECT_EQ(sent.item.message, nullptr); });
    ReplyRecord reply;
    EXPECT_TRUE(Sender().SendIPCMessageToService(kRequest, nullptr, 0, 10000, reply));
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(kRequest, {}, 10000));
}

TEST_F(SdkTest, RequestIsTrueWithoutAnAnswer)
{
    ReplyRecord reply;  // without a scripted answer the client returns false
    EXPECT_TRUE(Sender().SendIPCMessageToService(kRequest, nullptr, 0, 10000, reply));
    EXPECT_EQ(reply.message, nullptr);
    EXPECT_THAT(LogLines::All(), IsEmpty());
}

TEST_F(SdkTest, ReplyIsHandedToTheCaller)
{
    channel.Reply(kRequest, Counting(7));
    channel.FillLengths(true);
    ReplyRecord reply;
    EXPECT_TRUE(Sender().SendIPCMessageToService(kRequest, nullptr, 0, 10000, reply));
    EXPECT_EQ(reply.msgId, kRequest);
    ASSERT_EQ(reply.length, 7U);
    EXPECT_EQ(ByteVector(reply.message, reply.message + 7), Counting(7));
}

TEST_F(SdkTest, PostIgnoresItsIdAndSendsSixteenBytes)
{
    const ByteVector payload = Counting(16);
    for (const std::int32_t id : {0, -1, 0xD70048, 0xD70049, 0xD7005C}) {
        EXPECT_TRUE(Sender().PostIPCMessageToService(id, payload.data()));
    }
    EXPECT_THAT(channel.Posts(),
                ::testing::AllOf(::testing::SizeIs(5), ::testing::Each(PostIs(0xD70048, payload))));
    EXPECT_THAT(channel.Requests(), IsEmpty());
    EXPECT_THAT(LogLines::All(), IsEmpty());
}

TEST_F(SdkTest, RequestsOfSeveralThreadsRunConcurrently)
{
    constexpr int kThreads = 8;
    std::mutex mutex;
    std::condition_variable changed;
    int inside = 0;
    // Each request is answered only when all of them are running, which a lock around requests
    // would prevent.
    channel.OnRequest(kRequest, [&](const Sent&) {
        std::unique_lock lock(mutex);
        ++inside;
        changed.notify_all();
        EXPECT_TRUE(
            changed.wait_for(lock, std::chrono::seconds(10), [&] { return inside == kThreads; }));
    });
    channel.Reply(kRequest, Bytes().I32(3));
    std::vector<std::thread> callers;
    callers.reserve(kThreads);
    for (int caller = 0; caller < kThreads; ++caller) {
        callers.emplace_back([] {
            ReplyRecord reply;
            EXPECT_TRUE(Sender().SendIPCMessageToService(kRequest, nullptr, 0, 10000, reply));
            ASSERT_NE(reply.message, nullptr);
            EXPECT_EQ(reply.message[0], 3);
        });
    }
    for (std::thread& caller : callers) {
        caller.join();
    }
    EXPECT_EQ(channel.Requests().size(), static_cast<std::size_t>(kThreads));
}

TEST_F(SdkTest, SettingTheClientIsLogged)
{
    IPCMessageClient client(1, false, false, L"another");
    ForgetWhatHappened();
    Sender().SetIPCMessageSender(&client);
    EXPECT_THAT(LogLines::All(), ElementsAre(Start("IPCMessageSender::SetIPCMessageSender"),
                                             End("IPCMessageSender::SetIPCMessageSender")));
    Sender().ForgetClient();
    Sender().WaitUntilClientIsUnused();
    ReplyRecord reply;
    EXPECT_FALSE(Sender().SendIPCMessageToService(kRequest, nullptr, 0, 10000, reply));
}

}  // namespace

}  // namespace pelacon::test
