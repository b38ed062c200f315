// Our client on hci0, with the device of guest/gatt_peer.py on hci1, which BlueZ serves. Run in the
// virtual machine, by tests/gatt.sh.
#include <tests/radios/TwoControllers.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdio>

namespace pelacon::service::linux_radios::bluetooth {

namespace {

using Bytes = dbus::Bytes;

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

class AGattPeer : public OverBluez {
  protected:
    // The connections of the test before may still be ending, on both sides.
    AGattPeer()
    {
        EXPECT_TRUE(Eventually(
            [this] { return one->picture.connected.empty() && two->picture.connected.empty(); }));
    }
    ~AGattPeer() override
    {
        Do([this] { link.reset(); });
        // The next test's stack does not know that the device is being left.
        EXPECT_TRUE(Eventually(
            [this] { return one->picture.connected.empty() && two->picture.connected.empty(); }));
    }

    void Connect()
    {
        events.clear();
        Do([this] {
            link = std::make_unique<GattLink>(
                one->central, two->picture.address,
                GattLink::Callbacks{
                    [this] { events.emplace_back("connected"); },
                    [this](GattReason) { events.emplace_back("ended"); },
                    [this](const GattLink::Key& key, const Bytes& value, bool isIndication) {
                        values[key.second].push_back(value);
                        isIndicated = isIndication;
                    }});
        });
        ASSERT_TRUE(Eventually([this] { return !events.empty(); }));
        ASSERT_EQ(events.front(), "connected");
        Do([this] { link->Discover(Note()); });
        ASSERT_EQ(Outcome(), GattStatus::kDone);
    }
    GattLink::Done Note()
    {
        result.reset();
        return [this](GattStatus now) { result = now; };
    }
    GattStatus Outcome()
    {
        EXPECT_TRUE(Eventually([this] { return result.has_value(); }));
        return result.value_or(GattStatus::kUnreachable);
    }
    GattStatus Write(unsigned number, const Bytes& value)
    {
        Do([&] { link->Write(KeyOf(number), value, Note()); });
        return Outcome();
    }
    std::optional<Bytes> Read(unsigned number)
    {
        Bytes bytes;
        Do([&] {
            result.reset();
            link->Read(KeyOf(number), [&](GattStatus now, const Bytes& value) {
                bytes = value;
                result = now;
            });
        });
        return Outcome() == GattStatus::kDone ? std::optional(bytes) : std::nullopt;
    }

    std::vector<std::string> events;
    std::map<Uuid, std::vector<Bytes>> values;
    bool isIndicated = false;
    std::optional<GattStatus> result;
    std::unique_ptr<GattLink> link;
};

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
        ASSERT_EQ(Write(1, value), GattStatus::kDone);
        ASSERT_EQ(Read(1), value);
    }
    const auto longValue = Read(4);
    ASSERT_TRUE(longValue);
    EXPECT_EQ(longValue->size(), 300U);
    EXPECT_EQ(Write(1, Bytes(513)), GattStatus::kInvalidValue);
    EXPECT_EQ(Write(4, Bytes(1)), GattStatus::kNotPermitted);
    EXPECT_EQ(Read(9), std::nullopt);
    EXPECT_EQ(result, GattStatus::kNotFound);
}

TEST_F(AGattPeer, NotifiesInOrderAndIndicates)
{
    Connect();
    Do([this] { link->Subscribe(KeyOf(2), true, Note()); });
    ASSERT_EQ(Outcome(), GattStatus::kDone);
    const auto& counted = values[PeerUuid(0x102)];
    ASSERT_TRUE(Eventually([&] { return counted.size() >= 20; }));
    // Reads beside it are not taken for notifications.
    ASSERT_TRUE(Read(2));
    Do([this] { link->Subscribe(KeyOf(2), false, Note()); });
    ASSERT_EQ(Outcome(), GattStatus::kDone);
    Do([&] {
        for (std::size_t i = 1; i < counted.size(); ++i) {
            const auto number = [](const Bytes& value) {
                return value.at(0) | value.at(1) << 8U | value.at(2) << 16U;
            };
            EXPECT_EQ(number(counted[i]), number(counted[i - 1]) + 1);
        }
        link->Subscribe(KeyOf(3), true, Note());
    });
    ASSERT_EQ(Outcome(), GattStatus::kDone);
    const auto& indicated = values[PeerUuid(0x103)];
    ASSERT_TRUE(Eventually([&] { return indicated.size() >= 2; }));
    EXPECT_TRUE(isIndicated);
    const std::string text = "acknowledge me";
    EXPECT_EQ(indicated.front(), Bytes(text.begin(), text.end()));
}

TEST_F(AGattPeer, IsLeftAndConnectedAgain)
{
    for (int round = 0; round < 5; ++round) {
        Connect();
        ASSERT_TRUE(Read(2));
        Do([this] { link.reset(); });
        ASSERT_TRUE(Eventually([this] { return one->picture.connected.empty(); }));
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
    EXPECT_TRUE(Eventually([this] { return events.back() == "ended"; }));
}

}  // namespace

}  // namespace pelacon::service::linux_radios::bluetooth
