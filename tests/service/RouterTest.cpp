#include <protocol/ServiceStatus.h>
#include <service/core/Router.h>
#include <tests/service/RecordingTransport.h>

#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>
#include <string>

namespace pelacon::service::tests {
namespace {

using namespace std::chrono_literals;
using protocol::Nothing;
using protocol::Operation;

struct Pair {
    std::int32_t one;
    std::int32_t other;
};

constexpr Operation<Nothing, protocol::StatusReply> kPlain{0xD70001, "Plain", 1ms};
constexpr Operation<Pair, Pair> kSwap{0xD70002, "Swap", 1ms};
constexpr Operation<protocol::Text, protocol::Text> kEcho{0xD70003, "Echo", 1ms};
constexpr Operation<protocol::Bytes, protocol::Bytes> kReverse{0xD70004, "Reverse", 1ms};
constexpr Operation<Pair, Nothing> kPosted{0xD70005, "Posted", 1ms};
constexpr Operation<protocol::Int32Record, protocol::StatusReply> kTwinWithRecord{
    0xD70006, "TwinWithRecord", 1ms};
constexpr Operation<Nothing, protocol::StatusReply> kTwinWithout{0xD70006, "TwinWithout", 1ms};

class RouterTest : public testing::Test {
  protected:
    std::optional<Bytes> Send(std::int32_t id, const Bytes& payload)
    {
        const Router::Route* const route = router_.Find(id, payload.size());
        if (route == nullptr) {
            throw std::logic_error("no route");
        }
        return route->handler(session_, payload);
    }

    Scheduler scheduler_{1};
    RecordingTransport transport_;
    Session session_{scheduler_, transport_, 1, 1};
    Router router_;
};

TEST_F(RouterTest, GivesTheRecordToItsHandlerAndTheReplyBack)
{
    router_.Serve(kSwap, [](Session&, const Pair& pair) { return Pair{pair.other, pair.one}; });
    EXPECT_EQ(Send(kSwap.id, {1, 0, 0, 0, 2, 0, 0, 0}), (Bytes{2, 0, 0, 0, 1, 0, 0, 0}));
}

TEST_F(RouterTest, PadsAShortRecordAndCutsALongOne)
{
    router_.Serve(kSwap, [](Session&, const Pair& pair) { return Pair{pair.other, pair.one}; });
    EXPECT_EQ(Send(kSwap.id, {}), (Bytes{0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(Send(kSwap.id, {9}), (Bytes{0, 0, 0, 0, 9, 0, 0, 0}));
    EXPECT_EQ(Send(kSwap.id, Bytes(100, 1)), Bytes(8, 1));
}

TEST_F(RouterTest, GivesTextUpToItsNulAndReturnsItWithOne)
{
    router_.Serve(kEcho, [](Session&, std::string_view text) { return std::string(text) + "!"; });
    EXPECT_EQ(Send(kEcho.id, {'a', 'b', 0, 'c'}), (Bytes{'a', 'b', '!', 0}));
    EXPECT_EQ(Send(kEcho.id, {}), (Bytes{'!', 0}));
}

TEST_F(RouterTest, GivesBytesAsTheyAre)
{
    router_.Serve(kReverse,
                  [](Session&, ByteView bytes) { return Bytes(bytes.rbegin(), bytes.rend()); });
    EXPECT_EQ(Send(kReverse.id, {1, 2, 3}), (Bytes{3, 2, 1}));
    EXPECT_EQ(Send(kReverse.id, {}), Bytes());
}

TEST_F(RouterTest, AHandlerTakesWhatItNeeds)
{
    router_.Serve(kSwap, [](const Pair& pair) { return Pair{pair.other, pair.one}; });
    EXPECT_EQ(Send(kSwap.id, {1, 0, 0, 0, 2, 0, 0, 0}), (Bytes{2, 0, 0, 0, 1, 0, 0, 0}));
    router_.Serve(kPlain, [](Session& session) {
        return protocol::StatusReply{static_cast<std::int32_t>(session.ClientId())};
    });
    EXPECT_EQ(Send(kPlain.id, {}), (Bytes{1, 0, 0, 0}));
    router_.Serve(kEcho, [] { return std::string("?"); });
    EXPECT_EQ(Send(kEcho.id, {'a', 0}), (Bytes{'?', 0}));
}

TEST_F(RouterTest, AHandlerMayReturnTheValueOfTheReplysOnlyField)
{
    router_.Serve(kPlain, [] { return protocol::kStatusBusy; });
    EXPECT_EQ(Send(kPlain.id, {}), (Bytes{3, 0, 0, 0}));
    router_.Serve(kTwinWithRecord, [](const protocol::Int32Record& record) {
        return record.value == 0 ? std::nullopt : std::optional(record.value);
    });
    EXPECT_EQ(Send(kTwinWithRecord.id, {7, 0, 0, 0}), (Bytes{7, 0, 0, 0}));
    EXPECT_EQ(Send(kTwinWithRecord.id, {}), std::nullopt);
}

TEST_F(RouterTest, AHandlerMayReturnNoReply)
{
    router_.Serve(kPlain, [](Session& session, const Nothing&) {
        return session.ClientId() == 1 ? std::nullopt : std::optional(protocol::StatusReply{0});
    });
    EXPECT_EQ(Send(kPlain.id, {}), std::nullopt);
}

TEST_F(RouterTest, PostedMessagesHaveNoReply)
{
    std::int32_t seen = 0;
    router_.Serve(kPosted, [&](Session&, const Pair& pair) { seen = pair.one; });
    EXPECT_EQ(Send(kPosted.id, {5}), std::nullopt);
    EXPECT_EQ(seen, 5);
}

TEST_F(RouterTest, DistinguishesTwoOperationsWithOneIdByLength)
{
    router_.Serve(kTwinWithout, [](Session&, const Nothing&) { return protocol::StatusReply{1}; });
    router_.Serve(kTwinWithRecord, [](Session&, const protocol::Int32Record& record) {
        return protocol::StatusReply{100 + record.value};
    });
    EXPECT_EQ(Send(0xD70006, {}), (Bytes{1, 0, 0, 0}));
    EXPECT_EQ(Send(0xD70006, {7, 0, 0, 0}), (Bytes{107, 0, 0, 0}));
    // Neither length matches: the operation with a record serves the request.
    EXPECT_EQ(Send(0xD70006, {7}), (Bytes{107, 0, 0, 0}));
    EXPECT_EQ(Send(0xD70006, {7, 0, 0, 0, 9}), (Bytes{107, 0, 0, 0}));
}

TEST_F(RouterTest, ReportsUnservedOperations)
{
    EXPECT_EQ(router_.Find(0xD70001, 0), nullptr);
    router_.Serve(kPlain, [](Session&, const Nothing&) { return protocol::StatusReply{0}; });
    EXPECT_NE(router_.Find(0xD70001, 0), nullptr);
    EXPECT_NE(router_.Find(0xD70001, 55), nullptr);
    EXPECT_EQ(router_.Find(-1, 0), nullptr);
}

TEST_F(RouterTest, ServingAnOperationTwiceThrows)
{
    const auto handler = [](Session&, const Nothing&) { return protocol::StatusReply{0}; };
    router_.Serve(kPlain, handler);
    EXPECT_THROW(router_.Serve(kPlain, handler), std::logic_error);
}

}  // namespace
}  // namespace pelacon::service::tests
