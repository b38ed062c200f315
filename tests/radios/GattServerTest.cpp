// GattService with a real client. Run in the virtual machine, by
// tests/gatt_server.sh.
#include <tests/radios/ServerAndClient.h>

namespace pelacon::service::linux_radios::bluetooth {

namespace {

using testing::ElementsAre;

class AGattServer : public ServerAndClient {};

TEST_F(AGattServer, IsReadAndWritten)
{
    EXPECT_EQ(Read(KeyOf(kValue)), Bytes{'a'});
    for (std::uint8_t round = 0; round < 100; ++round) {
        const Bytes bytes(std::size_t{1} + round * 5U, round);
        ASSERT_EQ(Write(KeyOf(kValue), bytes), GattStatus::kDone);
        Do([&] { EXPECT_EQ(value, bytes); });
        ASSERT_EQ(Read(KeyOf(kValue)), bytes);
    }
    EXPECT_EQ(Read(KeyOf(kLong)), Bytes(512, 7));
    EXPECT_EQ(Write(KeyOf(kLong), {1}), GattStatus::kNotPermitted);
    EXPECT_EQ(Read(KeyOf(kSecret)), std::nullopt);
    EXPECT_EQ(result, GattStatus::kNotPermitted);
    EXPECT_EQ(Write(KeyOf(kSecret), {1, 2}), GattStatus::kDone);
    EXPECT_TRUE(Eventually([this] { return writes == 101; }));
    Do([this] { EXPECT_THAT(events, ElementsAre("+one", "one has 517")); });
}

TEST_F(AGattServer, NotifiesAndIndicates)
{
    SubscribeTo(kNotifying);
    Do([this] { service->NotifyOne(one->picture.address, kNotifying, {1}, Note()); });
    EXPECT_EQ(Outcome(), GattStatus::kDone);
    EXPECT_TRUE(Eventually([this] { return notifications[KeyOf(kNotifying)].size() == 1; }));

    SubscribeTo(kIndicating);
    Do([this] { service->Notify(kIndicating, {5, 6}, Note()); });
    EXPECT_EQ(Outcome(), GattStatus::kDone);  // once it is confirmed
    EXPECT_TRUE(Eventually([this] { return indications[KeyOf(kIndicating)].size() == 1; }));
    EXPECT_EQ(Subscribe(KeyOf(kIndicating), false), GattStatus::kDone);
    EXPECT_TRUE(Eventually([this] { return service->Subscribers(kIndicating).empty(); }));
}

class AFastGattServer : public ServerAndClient {
  protected:
    static constexpr std::size_t kCount = 10'000;
    static constexpr std::size_t kMostUnderWay = 500;

    void Send()
    {
        while (begun < kCount && begun - done < kMostUnderWay) {
            const Bytes bytes{static_cast<std::uint8_t>(begun),
                              static_cast<std::uint8_t>(begun >> 8U)};
            ++begun;
            service->Notify(kNotifying, bytes, [this](GattStatus status) {
                EXPECT_EQ(status, GattStatus::kDone);
                ++done;
                Send();
            });
        }
    }

    std::size_t begun = 0;
    std::size_t done = 0;
};

/// As fast as the server takes them, and with reads of the same characteristic meanwhile.
TEST_F(AFastGattServer, NotifiesInOrderWithoutALoss)
{
    const GattLink::Key key = KeyOf(kNotifying);
    SubscribeTo(kNotifying);
    Do([this] { Send(); });
    constexpr std::size_t kStep = 1000;
    for (std::size_t expected = kStep; expected <= kCount; expected += kStep) {
        EXPECT_EQ(Read(key), Bytes{'a'});
        ASSERT_TRUE(Eventually([&] { return notifications[key].size() >= expected; }))
            << Notifications(key).size();
    }
    EXPECT_TRUE(Eventually([this] { return done == kCount; }));
    EXPECT_EQ(Read(key), Bytes{'a'});
    const std::vector<Bytes> received = Notifications(key);
    ASSERT_EQ(received.size(), kCount);
    for (std::size_t i = 0; i < kCount; ++i) {
        const Bytes& bytes = received[i];
        ASSERT_EQ(bytes.at(0) | std::size_t{bytes.at(1)} << 8U, i);
    }
}

TEST_F(AGattServer, ReportsPeersThatComeAndGo)
{
    SubscribeTo(kNotifying);
    Do([this] { link.reset(); });
    ASSERT_TRUE(Eventually([this] { return events.back() == "-one"; }));
    Do([this] {
        EXPECT_THAT(events, ElementsAre("+one", "one has 517", "-one"));
        EXPECT_FALSE(two->peers.IsConnected(one->picture.address));
        EXPECT_TRUE(one->central.shared.empty());
        EXPECT_THAT(service->Subscribers(kNotifying), ElementsAre());
        events.clear();
    });
    Connect();
    EXPECT_EQ(Read(KeyOf(kValue)), Bytes{'a'});
    Do([this] { EXPECT_THAT(events, ElementsAre("+one", "one has 517")); });
}

TEST_F(AGattServer, AddsAndRemovesServicesWhilePeersAreConnected)
{
    Do([this] { service.reset(); });
    EXPECT_TRUE(Eventually([this] { return !link->Remote().services.contains(kService); }));
}

/// Where peers get 47 bytes at once.
class AGattServerOfASmallMtu : public ServerAndClient {};

TEST_F(AGattServerOfASmallMtu, IsReadAndWrittenInParts)
{
    Do([this] { EXPECT_EQ(link->Remote().mtu, 48); });
    EXPECT_EQ(Read(KeyOf(kLong)), Bytes(512, 7));
    const Bytes bytes(300, 9);
    EXPECT_EQ(Write(KeyOf(kValue), bytes), GattStatus::kDone);
    Do([&] {
        EXPECT_EQ(value, bytes);
        EXPECT_EQ(writes, 1);
    });
    EXPECT_EQ(Read(KeyOf(kValue)), bytes);
    Do([this] {
        EXPECT_EQ(reads, 2);
        EXPECT_THAT(events, ElementsAre("+one", "one has 48"));
    });
}

}  // namespace

}  // namespace pelacon::service::linux_radios::bluetooth
