// Our client on hci0, with the device of guest/gatt_peer.py on hci1, which BlueZ serves. Run in the
// virtual machine, by tests/gatt.sh.
#include <tests/radios/Client.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdio>
#include <numeric>

namespace pelacon::service::linux_radios::bluetooth {

namespace {

/// The UUIDs of gatt_peer.py.
Uuid PeerUuid(unsigned number)
{
    std::array<char, 37> text{};
    std::snprintf(text.data(), text.size(), "0000%04x-1234-5678-1234-56789abcdef0", number);
    return *protocol::ParseUuid(text.data());
}

GattLink::Key KeyOf(unsigned number)
{
    return {PeerUuid(0x100), PeerUuid(0x100 + number)};
}

class AGattPeer : public Client {};

TEST_F(AGattPeer, IsReadAndWrittenAndKeepsWhatWasWritten)
{
    Connect();
    Do([this] {
        EXPECT_TRUE(link->Remote().services.contains(PeerUuid(0x100)));
        EXPECT_FALSE(link->Remote().services.contains(PeerUuid(0x200)));
        EXPECT_EQ(link->Remote().mtu, 517);
    });
    for (std::uint8_t round = 0; round < 100; ++round) {
        const Bytes value(std::size_t{1} + round % 20, round);
        ASSERT_EQ(Write(KeyOf(1), value), GattStatus::kDone);
        ASSERT_EQ(Read(KeyOf(1)), value);
    }
    const auto longValue = Read(KeyOf(4));
    ASSERT_TRUE(longValue);
    EXPECT_EQ(longValue->size(), 300U);
    EXPECT_EQ(Write(KeyOf(1), Bytes(513)), GattStatus::kInvalidValue);
    EXPECT_EQ(Write(KeyOf(4), Bytes(1)), GattStatus::kNotPermitted);
    EXPECT_EQ(Read(KeyOf(9)), std::nullopt);
    EXPECT_EQ(result, GattStatus::kNotFound);
}

TEST_F(AGattPeer, IsWrittenWithoutAResponse)
{
    Connect();
    for (std::uint8_t round = 0; round < 20; ++round) {
        ASSERT_EQ(Write(KeyOf(6), {round}), GattStatus::kDone);
    }
    // The read follows the writes, on the same channel.
    EXPECT_EQ(Read(KeyOf(6)), Bytes{19});
}

/// Where it gets 47 bytes at once.
class AGattPeerOfASmallMtu : public Client {};

TEST_F(AGattPeerOfASmallMtu, IsReadAndWrittenInParts)
{
    Connect();
    Do([this] { EXPECT_EQ(link->Remote().mtu, 48); });
    Bytes value(400);
    std::iota(value.begin(), value.end(), std::uint8_t{0});
    ASSERT_EQ(Write(KeyOf(1), value), GattStatus::kDone);
    EXPECT_EQ(Read(KeyOf(1)), value);
}

TEST_F(AGattPeer, NotifiesInOrderAndIndicates)
{
    Connect();
    ASSERT_EQ(Subscribe(KeyOf(2)), GattStatus::kDone);
    ASSERT_TRUE(Eventually([this] { return notifications[KeyOf(2)].size() >= 20; }));
    // Reads beside it are not taken for notifications.
    ASSERT_TRUE(Read(KeyOf(2)));
    ASSERT_EQ(Subscribe(KeyOf(2), false), GattStatus::kDone);
    const std::vector<Bytes> counted = Notifications(KeyOf(2));
    const auto number = [](const Bytes& value) {
        return value.at(0) | value.at(1) << 8U | value.at(2) << 16U;
    };
    for (std::size_t i = 1; i < counted.size(); ++i) {
        EXPECT_EQ(number(counted[i]), number(counted[i - 1]) + 1);
    }
    ASSERT_EQ(Subscribe(KeyOf(3)), GattStatus::kDone);
    ASSERT_TRUE(Eventually([this] { return indications[KeyOf(3)].size() >= 2; }));
    const std::string text = "acknowledge me";
    EXPECT_EQ(Indications(KeyOf(3)).front(), Bytes(text.begin(), text.end()));
}

TEST_F(AGattPeer, IsLeftAndConnectedAgain)
{
    for (int round = 0; round < 5; ++round) {
        Connect();
        ASSERT_TRUE(Read(KeyOf(2)));
        Disconnect();
    }
}

TEST_F(AGattPeer, EndsTheConnectionAndAReadWhenItsAdapterGoes)
{
    Connect();
    Do([this] {
        link->Read(KeyOf(5), [note = Note()](GattStatus now, const Bytes&) { note(now); });
        two->adapter.Switch(false, Store());
    });
    EXPECT_EQ(Result(), radio::Outcome::kDone);
    EXPECT_EQ(Outcome(), GattStatus::kNotConnected);
    EXPECT_TRUE(Eventually([this] { return !isConnected; }));
}

}  // namespace

}  // namespace pelacon::service::linux_radios::bluetooth
