#include <sdk/ipc/Exchange.h>
#include <tests/support/SdkTest.h>

#include <cstddef>
#include <stdexcept>
#include <string>

namespace pelacon::test {

namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;

constexpr std::int32_t kId = 0xD70099;
constexpr auto kFunction = "Some::Member";
const Failures<int> kFailures{-1, -9};
constexpr protocol::Operation<protocol::Nothing, protocol::StatusReply> kPlain{kId, "Plain",
                                                                               5000ms};

int StatusOf(const protocol::StatusReply& reply)
{
    return reply.status;
}

TEST_F(StoppedSdkTest, ExchangeThatIsNotSent)
{
    EXPECT_EQ(Exchange(kFunction, kPlain, {}, kFailures, StatusOf), -1);
    EXPECT_THAT(LogLines::All(), ElementsAre(NotStarted()));
}

TEST_F(StoppedSdkTest, ExchangeThatIsNotSentCallsTheFailureHandler)
{
    const Failures<int> failures{-1, -9, [] { Journal::Note("not sent"); },
                                 [] { Journal::Note("no reply"); }};
    EXPECT_EQ(Exchange(kFunction, kPlain, {}, failures, StatusOf), -1);
    EXPECT_EQ(Journal::Entries().size(), 2U);
    EXPECT_EQ(Journal::Entries().back(), "not sent");
}

TEST_F(SdkTest, ExchangeWithoutReply)
{
    EXPECT_EQ(Exchange(kFunction, kPlain, {}, kFailures, StatusOf), -9);
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(kId, {}, 5000));
    EXPECT_THAT(LogLines::All(), ElementsAre(NoReply(kFunction)));
}

TEST_F(SdkTest, ExchangeWithoutReplyCallsTheFailureHandlerFirst)
{
    const Failures<int> failures{-1, -9, [] { Journal::Note("not sent"); },
                                 [] { Journal::Note("no reply"); }};
    EXPECT_EQ(Exchange(kFunction, kPlain, {}, failures, StatusOf), -9);
    EXPECT_THAT(Journal::Entries(),
                ElementsAre("request 0xD70099", "no reply",
                            "log 3 recvMsg.message is nullptr, return(Some::Member)"));
}

TEST_F(SdkTest, ExchangeWithReply)
{
    channel.Reply(kId, Bytes().I32(-77));
    EXPECT_EQ(Exchange(kFunction, kPlain, {}, kFailures,
                       [](const protocol::StatusReply& reply) {
                           Journal::Note("decoded");
                           return reply.status;
                       }),
              -77);
    EXPECT_THAT(Journal::Entries(),
                ElementsAre("request 0xD70099", "decoded", "log 1 end(Some::Member)"));
}

TEST_F(SdkTest, ExchangeFreesTheReplyWhateverTheCallerThrows)
{
    channel.Reply(kId, Bytes().I32(0));  // a leak shows under AddressSanitizer
    EXPECT_THROW(Exchange(kFunction, kPlain, {}, kFailures,
                          [](const protocol::StatusReply&) -> int { throw std::bad_alloc(); }),
                 std::bad_alloc);
}

struct PointRecord {
    std::int16_t x;
    std::int16_t y;
};

TEST_F(SdkTest, ExchangeSendsRecords)
{
    constexpr protocol::Operation<PointRecord, protocol::ValueStatusReply> operation{kId, "Point",
                                                                                     20000ms};
    channel.Reply(kId, Bytes().I32(8).I32(9));
    const auto sum = [](const protocol::ValueStatusReply& reply) {
        return reply.value * 10 + reply.status;
    };
    EXPECT_EQ(Exchange(kFunction, operation, PointRecord{1, -1}, kFailures, sum), 89);
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(kId, Bytes().U16(1).U16(0xFFFF), 20000));
}

TEST_F(SdkTest, ExchangeSendsTextWithItsNul)
{
    constexpr protocol::Operation<protocol::Text, protocol::StatusReply> operation{kId, "Text",
                                                                                   5000ms};
    Exchange(kFunction, operation, "red", kFailures, StatusOf);
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(kId, Bytes().Text("red").U8(0), 5000));
    channel.ForgetSent();
    Exchange(kFunction, operation, "", kFailures, StatusOf);
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(kId, Bytes().U8(0), 5000));
}

TEST_F(SdkTest, ExchangeSendsBytes)
{
    constexpr protocol::Operation<protocol::Bytes, protocol::StatusReply> operation{kId, "Bytes",
                                                                                    5000ms};
    const ByteVector payload = Counting(300);
    Exchange(kFunction, operation, payload, kFailures, StatusOf);
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(kId, payload, 5000));
}

TEST_F(SdkTest, ExchangeReceivesTextUpToItsNul)
{
    constexpr protocol::Operation<protocol::Nothing, protocol::Text> operation{kId, "Text", 5000ms};
    channel.Reply(kId, Bytes().Text("blue").U8(0).Text("rest"));
    const Failures<std::string> failures{"not sent", "no reply"};
    EXPECT_EQ(
        Exchange(kFunction, operation, {}, failures, [](const std::string& text) { return text; }),
        "blue");
}

TEST_F(SdkTest, ExchangeReadsZerosWhereAReplyIsTooShort)
{
    constexpr protocol::Operation<protocol::Nothing, protocol::ValueStatusReply> operation{
        kId, "Short", 5000ms};
    channel.FillLengths(true);
    const ByteVector whole = Bytes().I32(0x04030201).I32(0x08070605);
    for (std::size_t length = 1; length <= whole.size(); ++length) {
        SCOPED_TRACE(length);
        ByteVector padded(whole.begin(), whole.begin() + static_cast<long>(length));
        channel.Reply(kId, padded);
        padded.resize(whole.size());
        const auto isPadded = [&](const protocol::ValueStatusReply& reply) {
            return std::memcmp(&reply, padded.data(), sizeof reply);
        };
        EXPECT_EQ(Exchange(kFunction, operation, {}, kFailures, isPadded), 0);
    }
}

TEST(ExchangeLengthTest, APayloadBeyondTheLengthFieldIsNotCut)
{
    EXPECT_EQ(detail::LengthOf(0xFFFFFFFE), 0xFFFFFFFEU);
    EXPECT_EQ(detail::LengthOf(std::size_t{1} << 32U), 0xFFFFFFFFU);
    EXPECT_EQ(detail::LengthOf((std::size_t{1} << 32U) + 7), 0xFFFFFFFFU);
}

}  // namespace

}  // namespace pelacon::test
