// The channels of the soft AP and of the phone.
#include <protocol/WifiChannels.h>
#include <tests/service/SoftApFixture.h>

#include <gtest/gtest.h>

#include <chrono>
#include <future>

namespace pelacon::service::tests {
namespace {

using protocol::kStatusNotSupported;

using SoftApChannelsTest = SoftApFixture;

TEST_F(SoftApChannelsTest, UsesTheCommonChannelOfPhoneAndMachine)
{
    TestClient client(PipeName());
    EXPECT_EQ(Create(client).apByte1, 6) << "the phone's own connection";
    Destroy(client);
    Command({{"command", "phone.channel"}, {"channel", 0}});
    EXPECT_EQ(Create(client).apByte1, 149) << "the machine's";
    Destroy(client);
    Command({{"command", "wifi.disconnect"}});
    EXPECT_EQ(Create(client).apByte1, 6) << "the least busy one that both support";
    Destroy(client);
    EXPECT_EQ(Create(client, k5G).apByte1, 36);
}

TEST_F(SoftApChannelsTest, NeedsAChannelThatBothSupport)
{
    TestClient client(PipeName());
    client.Call(protocol::kRemovePhoneSupportChannels);
    client.Call(protocol::kAddPhoneSupport24Channel, {11});
    EXPECT_EQ(Create(client).errorCode, kStatusNotSupported);
    client.Call(protocol::kAddPhoneSupport24Channel, {1});
    EXPECT_EQ(Create(client).apByte1, 1);
    Destroy(client);
    EXPECT_EQ(Create(client, k5G).errorCode, kStatusNotSupported);
    EXPECT_EQ(Create(client, 9).errorCode, kStatusNotSupported) << "there is no such band";
}

TEST_F(SoftApChannelsTest, MovesBetweenTheBands)
{
    TestClient client(PipeName());
    Listen(client);
    EXPECT_EQ(client.Call(protocol::kSetAPFrequence, {1})->value, 0) << "there is no soft AP";
    Create(client, k24G);
    EXPECT_EQ(NextAdvertisement(client), "1 6 Desk AP");
    EXPECT_EQ(client.Call(protocol::kSetAPFrequence, {1})->value, 149);
    EXPECT_EQ(NextAdvertisement(client), "2 149 Desk AP");
    EXPECT_EQ(client.Call(protocol::kRepickChannelWithoutEffect, {0})->value, 6);
    EXPECT_EQ(Channel(client), 149) << "without effect";
    EXPECT_EQ(client.Call(protocol::kSetAPFrequence, {0})->value, 6);
    EXPECT_EQ(NextAdvertisement(client), "2 6 Desk AP");
}

TEST_F(SoftApChannelsTest, AMoveIsAnsweredWhenItIsOver)
{
    TestClient client(PipeName());
    Create(client, k24G);
    Behave("moveGroup", {{"ms", 30}});
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(client.Call(protocol::kSetAPFrequence, {1})->value, 149);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(30));
    EXPECT_EQ(Channel(client), 149);
}

TEST_F(SoftApChannelsTest, ARefusedMoveIsAnsweredWithTheChannelThatItIsOn)
{
    TestClient client(PipeName());
    Listen(client);
    Create(client, k24G);
    EXPECT_EQ(NextAdvertisement(client), "1 6 Desk AP");
    Behave("moveGroup", {{"fails", "failed"}, {"times", 1}});
    EXPECT_EQ(client.Call(protocol::kSetAPFrequence, {1})->value, 6);
    EXPECT_EQ(client.Call(protocol::kSetAPFrequence, {1})->value, 149);
    EXPECT_EQ(NextAdvertisement(client), "2 149 Desk AP") << "nothing was notified before";
}

TEST_F(SoftApChannelsTest, AMoveEndsWithTheSoftApAndDoesNotMoveTheNext)
{
    TestClient client(PipeName());
    TestClient other(PipeName());
    Create(client, k24G);
    Behave("moveGroup", {{"ms", 300}, {"times", 1}});
    auto move = std::async(std::launch::async,
                           [&] { return other.Call(protocol::kSetAPFrequence, {1})->value; });
    EXPECT_TRUE(Eventually([&] { return Requests() == 2; }));
    EXPECT_EQ(Destroy(client), 0);
    EXPECT_EQ(move.get(), 0) << "at once, as there is none any more";
    Create(client, k24G);
    EXPECT_EQ(Channel(client), 6);
}

TEST_F(SoftApChannelsTest, ItsChannelIsChosenAgain)
{
    TestClient client(PipeName());
    EXPECT_EQ(client.Call(protocol::kSystemRefreshSoftAPChannel)->value, 0);
    Command({{"command", "phone.channel"}, {"channel", 36}});
    EXPECT_EQ(Create(client, k5G).apByte1, 36);
    Command({{"command", "phone.channel"}, {"channel", 149}});
    EXPECT_EQ(client.Call(protocol::kSystemRefreshSoftAPChannel)->value, 149);
    EXPECT_EQ(Channel(client), 149);
}

TEST_F(SoftApChannelsTest, Avoids5GHzWhereItHasFailed)
{
    TestClient client(PipeName());
    Command({{"command", "phone.channel"}, {"channel", 0}});
    client.Call(protocol::kCheckIsSet5GFailed);
    EXPECT_EQ(Create(client).apByte1, 149) << "nothing has failed";
    Destroy(client);
    client.Call(protocol::kRemovePhoneSupportChannels);
    client.Call(protocol::kAddPhoneSupport24Channel, {6});
    Create(client);
    EXPECT_EQ(client.Call(protocol::kSetAPFrequence, {1})->value, 6) << "it stays";
    client.Call(protocol::kAddPhoneSupportChannel, {149});
    client.Call(protocol::kCheckIsSet5GFailed);
    Destroy(client);
    EXPECT_EQ(Create(client).apByte1, 6);
    Destroy(client);
    EXPECT_EQ(Create(client, k5G).apByte1, 149) << "the band itself is still possible";
    Destroy(client);
    client.Call(protocol::kRemovePhoneSupportChannels);
    EXPECT_EQ(Create(client).apByte1, 149) << "a new phone clears the failure";
}

TEST_F(SoftApChannelsTest, TheMachinesChannelsAreListed)
{
    TestClient client(PipeName());
    for (const auto& operation :
         {protocol::kGetPCChannelList, protocol::kGetPCSupportChannelList}) {
        const auto lists = client.Call(operation);
        EXPECT_EQ(TextIn(lists->first), "1,6");
        EXPECT_EQ(TextIn(lists->second), "36,149");
        EXPECT_EQ(lists->value, 149);
    }
}

TEST_F(SoftApChannelsTest, ThePhonesChannelsAreRecorded)
{
    TestClient client(PipeName());
    EXPECT_EQ(client.Call(protocol::kGetRecordPhoneChannelList), "36,149,157");
    EXPECT_EQ(client.Call(protocol::kGetRecordPhone24GChannelList), "6");
    EXPECT_EQ(client.Call(protocol::kGetPhoneChannelList), "6,36,149,157");
    client.Call(protocol::kRemovePhoneSupportChannels);
    EXPECT_EQ(client.Call(protocol::kGetPhoneChannelList), "");
    for (const std::int32_t channel : {44, 40, 44, 6, 0, -1, 37, 1000}) {
        client.Call(protocol::kAddPhoneSupportChannel, {channel});
    }
    for (const std::int32_t channel : {13, 14, 15, 36}) {
        client.Call(protocol::kAddPhoneSupport24Channel, {channel});
    }
    EXPECT_EQ(client.Call(protocol::kGetRecordPhoneChannelList), "44,40");
    EXPECT_EQ(client.Call(protocol::kGetRecordPhone24GChannelList), "13,14");
}

TEST_F(SoftApChannelsTest, ThePhonesConnectionIsRecorded)
{
    TestClient client(PipeName());
    EXPECT_EQ(client.Call(protocol::kGetRecordPhoneChannel)->value, 6);
    client.Call(protocol::kSetPhoneCurrentChannel, {157});
    EXPECT_EQ(client.Call(protocol::kGetRecordPhoneChannel)->value, 157);
    client.Call(protocol::kSetPhoneCurrentChannel, {158});
    EXPECT_EQ(client.Call(protocol::kGetRecordPhoneChannel)->value, 0);
    Command({{"command", "phone.channel"}, {"channel", 40}});
    EXPECT_EQ(client.Call(protocol::kGetRecordPhoneChannel)->value, 40);
}

TEST_F(SoftApChannelsTest, BandsAndFrequenciesAreThoseOfTheStandard)
{
    struct Row {
        std::int32_t channel;
        std::int32_t type;
        std::int32_t megahertz;
    };
    TestClient client(PipeName());
    for (const Row& row :
         {Row{1, 0, 2412}, Row{6, 0, 2437}, Row{13, 0, 2472}, Row{14, 0, 2484}, Row{36, 1, 5180},
          Row{64, 1, 5320}, Row{100, 1, 5500}, Row{144, 1, 5720}, Row{149, 1, 5745},
          Row{165, 1, 5825}, Row{177, 1, 5885}, Row{0, -1, 0}, Row{15, -1, 0}, Row{-6, -1, 0},
          Row{37, -1, 0}, Row{148, -1, 0}, Row{181, -1, 0}}) {
        EXPECT_EQ(client.Call(protocol::kGetFrequenceType, {row.channel})->value, row.type);
        EXPECT_EQ(client.Call(protocol::kIs24GChannel, {row.channel})->value, row.type == 0);
        EXPECT_EQ(client.Call(protocol::kIs5GChannel, {row.channel})->value, row.type == 1);
        EXPECT_EQ(client.Call(protocol::kGetFrequencyFromChannel, {row.channel})->value,
                  row.megahertz)
            << row.channel;
    }
}

}  // namespace
}  // namespace pelacon::service::tests
