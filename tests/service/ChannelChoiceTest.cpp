#include <service/families/ChannelChoice.h>
#include <service/radio/Channels.h>
#include <service/simulation/Wifi.h>

#include <gtest/gtest.h>

#include <initializer_list>
#include <vector>

namespace pelacon::service::tests {
namespace {

using protocol::ChannelWish;
using radio::Band;

ChannelWish Wish(std::int32_t band, std::int32_t bandwidth,
                 std::initializer_list<std::int32_t> channels = {})
{
    ChannelWish wish{};
    wish.band = band;
    wish.bandwidth = bandwidth;
    for (const std::int32_t channel : channels) {
        wish.channels[wish.channelCount++] = channel;
    }
    return wish;
}

class ChannelChoiceTest : public testing::Test {
  protected:
    /// The channel recommended by an adapter with these channels; 0 for none.
    protocol::RecommendedChannel Recommended(const std::vector<ChannelWish>& wishes)
    {
        Scheduler scheduler(1);
        const Scheduler::Guard lock = scheduler.Lock();
        simulation::Stack stack({});
        simulation::Wifi wifi(scheduler, stack, config);
        return RecommendChannel(wifi, wishes).value_or(protocol::RecommendedChannel{});
    }

    ChannelChoiceTest()
    {
        config.channels = {{1, 50, 40}, {6, 10, 20}, {36, 20, 80}, {40, 20, 160}, {149, 90, 80}};
    }

    simulation::WifiConfig config;
};

TEST_F(ChannelChoiceTest, WithoutARequestTheLeastBusyChannelIsBest)
{
    const auto best = Recommended({});
    EXPECT_EQ(best.channel, 6);
    EXPECT_EQ(best.frequency, 2437);
    EXPECT_EQ(best.band, 1);
    EXPECT_EQ(best.bandwidth, 20);
    EXPECT_EQ(best.load, 10);
    EXPECT_EQ(best.satisfied, 0);
}

TEST_F(ChannelChoiceTest, ABandRestrictsTheChoice)
{
    EXPECT_EQ(Recommended({Wish(2, 0)}).channel, 36) << "of two equal ones, the lower";
    EXPECT_EQ(Recommended({Wish(1, 0)}).channel, 6);
}

TEST_F(ChannelChoiceTest, ChannelsRestrictTheChoice)
{
    EXPECT_EQ(Recommended({Wish(0, 0, {1, 149})}).channel, 1);
    EXPECT_EQ(Recommended({Wish(2, 0, {1, 149})}).channel, 149) << "with the band";
}

TEST_F(ChannelChoiceTest, TheMostRequestsDecideBeforeTheLoad)
{
    const auto best = Recommended({Wish(0, 0, {1, 6}), Wish(0, 0, {6, 149}), Wish(2, 0)});
    EXPECT_EQ(best.channel, 6) << "two, and so has 149, which is busier";
    EXPECT_EQ(best.satisfied, 2);
    EXPECT_EQ(Recommended({Wish(2, 0, {149}), Wish(2, 0, {149}), Wish(1, 0)}).channel, 149);
}

TEST_F(ChannelChoiceTest, TheConnectionsChannelIsPreferred)
{
    config.connected = {"Home", 149};
    EXPECT_EQ(Recommended({}).channel, 149);
    EXPECT_EQ(Recommended({Wish(2, 0)}).channel, 149);
    EXPECT_EQ(Recommended({Wish(1, 0)}).channel, 6)
        << "the connection's channel does not match the requests";
    config.on = false;
    EXPECT_EQ(Recommended({}).channel, 6) << "there is no connection while it is off";
}

TEST_F(ChannelChoiceTest, TheNarrowestSatisfiedBandwidthIsUsed)
{
    EXPECT_EQ(Recommended({Wish(2, 0, {40})}).bandwidth, 160);
    EXPECT_EQ(Recommended({Wish(2, 80, {40}), Wish(2, 40), Wish(0, 0)}).bandwidth, 40);
    EXPECT_EQ(Recommended({Wish(2, 0, {40}), Wish(2, 0, {40}), Wish(1, 20)}).bandwidth, 160)
        << "a request that is not met does not count";
}

TEST_F(ChannelChoiceTest, NoChannelMayMatch)
{
    EXPECT_EQ(Recommended({Wish(0, 0, {11, 44})}).channel, 0);
    EXPECT_EQ(Recommended({Wish(1, 0, {36})}).channel, 0);
    config.channels.clear();
    EXPECT_EQ(Recommended({}).channel, 0);
}

TEST(ChannelWishTest, InvalidOnesAreRefused)
{
    EXPECT_TRUE(IsValid(Wish(0, 0)));
    EXPECT_TRUE(IsValid(Wish(2, 160, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14})));
    EXPECT_FALSE(IsValid(Wish(3, 0)));
    EXPECT_FALSE(IsValid(Wish(-1, 0)));
    EXPECT_FALSE(IsValid(Wish(0, -1)));
    ChannelWish wish{};
    wish.channelCount = 15;
    EXPECT_FALSE(IsValid(wish));
    wish.channelCount = -1;
    EXPECT_FALSE(IsValid(wish));
}

TEST(ChannelsTest, HaveBandsAndFrequencies)
{
    const struct {
        std::int32_t channel;
        Band band;
        std::int32_t frequency;
    } rows[] = {{1, Band::k24GHz, 2412},  {13, Band::k24GHz, 2472}, {14, Band::k24GHz, 2484},
                {36, Band::k5GHz, 5180},  {64, Band::k5GHz, 5320},  {100, Band::k5GHz, 5500},
                {144, Band::k5GHz, 5720}, {149, Band::k5GHz, 5745}, {165, Band::k5GHz, 5825},
                {177, Band::k5GHz, 5885}, {0, Band::kNone, 0},      {15, Band::kNone, 0},
                {37, Band::kNone, 0},     {72, Band::kNone, 0},     {148, Band::kNone, 0},
                {150, Band::kNone, 0},    {181, Band::kNone, 0},    {-36, Band::kNone, 0}};
    for (const auto& row : rows) {
        EXPECT_EQ(radio::BandOf(row.channel), row.band) << row.channel;
        EXPECT_EQ(radio::FrequencyOf(row.channel), row.frequency) << row.channel;
    }
}

}  // namespace
}  // namespace pelacon::service::tests
