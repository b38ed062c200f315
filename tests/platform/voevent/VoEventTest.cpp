#include <voevent/VoEvent.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace {

using ::testing::ElementsAre;
using ::testing::Pair;

class VoViewTest : public ::testing::Test {
  protected:
    void TearDown() override { VoView::SetSink({}); }
};

TEST(VoEventTest, KeepsEntriesInTheOrderOfInsertion)
{
    VoEvent event(12);
    event.PutString("s", "text");
    event.PutInt("i", -1);
    event.PutLong("l", 1LL << 40);
    event.PutInt("i", 2);
    EXPECT_EQ(event.EventId(), 12);
    EXPECT_THAT(event.Entries(), ElementsAre(VoEvent::Entry("s", std::string("text")),
                                             VoEvent::Entry("i", std::int32_t{-1}),
                                             VoEvent::Entry("l", std::int64_t{1} << 40),
                                             VoEvent::Entry("i", std::int32_t{2})));
}

TEST(PayloadTest, KeepsPairsInTheOrderOfInsertion)
{
    Payload payload;
    payload.Insert("b", "1");
    payload.Insert("a", "2");
    payload.Insert("b", "3");
    EXPECT_THAT(payload.Pairs(), ElementsAre(Pair("b", "1"), Pair("a", "2"), Pair("b", "3")));
}

TEST_F(VoViewTest, EventsAreDroppedWithoutASink)
{
    VoView::Report(VoEvent(1));
    int calls = 0;
    VoView::SetSink([&](const VoEvent&) { ++calls; });
    EXPECT_EQ(calls, 0);
}

TEST_F(VoViewTest, SinkReceivesEventsUntilItIsRemoved)
{
    std::vector<int> ids;
    VoView::SetSink([&](const VoEvent& event) { ids.push_back(event.EventId()); });
    VoView::Report(VoEvent(1));
    VoView::Report(VoEvent(2));
    VoView::SetSink({});
    VoView::Report(VoEvent(3));
    EXPECT_THAT(ids, ElementsAre(1, 2));
}

TEST_F(VoViewTest, SinkMayThrowOrReport)
{
    int calls = 0;
    VoView::SetSink([&](const VoEvent&) {
        ++calls;
        VoView::Report(VoEvent(9));
        throw std::runtime_error("sink");
    });
    VoView::Report(VoEvent(1));
    VoView::Report(VoEvent(2));
    EXPECT_EQ(calls, 2);
}

}  // namespace
