#include <service/linux/bluetooth/GattLink.h>
#include <service/linux/bluetooth/GattPeers.h>
#include <tests/service/linux/GattTest.h>

namespace pelacon::service::linux_radios::tests {

namespace {

class TheGattPeers : public GattTest, private GattPeers::Observer {
  protected:
    /// Not in the constructor, as this is no observer before.
    void SetUp() override
    {
        Do([this] {
            peers = std::make_unique<GattPeers>(*central);
            peers->Add(*this);
        });
        Start();
        EXPECT_TRUE(Eventually([this] { return stack->Adapter().has_value(); }));
    }
    /// Not in the destructor, as this is an observer until then.
    void TearDown() override
    {
        Do([this] { peers.reset(); });
    }

    void PeerConnected(std::uint64_t peer) override { Note("+", peer); }
    void PeerDisconnected(std::uint64_t peer) override { Note("-", peer); }
    void PeerMtuChanged(std::uint64_t peer, std::int32_t mtu) override
    {
        Note("mtu " + std::to_string(mtu), peer);
    }
    void Note(const std::string& what, std::uint64_t peer)
    {
        events.push_back(peer == kAddress ? what : what + " of another");
    }
    bool Sees(const std::vector<std::string>& expected)
    {
        const bool isSeen = Eventually([&] { return events == expected; });
        EXPECT_EQ(Do([&] { return events; }), expected);
        return isSeen;
    }
    /// The kernel's event Device Connected, with these flags.
    void SendConnected(const char* flags)
    {
        management.Send(FromHex(std::string("0b00 0000 0d00 0605040302c1 02") + flags + "0000"));
    }

    std::vector<std::string> events;
    std::unique_ptr<GattPeers> peers;
};

TEST_F(TheGattPeers, AreDevicesThatConnectedByThemselves)
{
    AddDevice();
    SendConnected("00000000");
    Change(kDevicePath, "Connected", true);
    ASSERT_TRUE(Sees({"+"}));
    EXPECT_TRUE(Do([this] { return peers->IsConnected(kAddress); }));
    Change(kDevicePath, "Connected", false);
    ASSERT_TRUE(Sees({"+", "-"}));
    EXPECT_FALSE(Do([this] { return peers->IsConnected(kAddress); }));
}

TEST_F(TheGattPeers, DoNotIncludeDevicesThatThisMachineConnectedTo)
{
    AddDevice();
    AddDevice("hci0/dev_2", "00:00:00:00:00:02");
    SendConnected("08000000");
    Change(kDevicePath, "Connected", true);
    Change("hci0/dev_2", "Connected", true);  // which the kernel has not reported
    EXPECT_TRUE(Sees({"+ of another"}));
}

TEST_F(TheGattPeers, DoNotIncludeDevicesOfALink)
{
    AddDevice();
    bool isUp = false;
    auto link = Do([&] {
        return std::make_unique<GattLink>(
            *central, kAddress,
            GattLink::Callbacks{[&] { isUp = true; }, [](GattReason) {},
                                [](const GattLink::Key&, const dbus::Bytes&, bool) {}});
    });
    ASSERT_TRUE(Eventually([&] { return isUp; }));
    bluetoothd->Do({{"do", "fail"}, {"method", "Disconnect"}, {"delay", 100}});
    Do([&] { link.reset(); });
    AddDevice("hci0/dev_2", "00:00:00:00:00:02");
    Change("hci0/dev_2", "Connected", true);
    EXPECT_TRUE(Sees({"+ of another"}));
}

TEST_F(TheGattPeers, IncludeDevicesThatUseAService)
{
    AddDevice();
    SendConnected("08000000");
    Change(kDevicePath, "Connected", true);
    const std::string path = std::string("/org/bluez/") + kDevicePath;
    ASSERT_TRUE(Eventually([&] { return stack->Mirror().Find(path, bluez::kDevice) != nullptr; }));
    Do([&] {
        EXPECT_EQ(peers->Note(path, 100), kAddress);
        EXPECT_EQ(peers->Note(path, 100), kAddress);
        EXPECT_EQ(peers->Note(path, 0), kAddress);
        EXPECT_EQ(peers->Note("/org/bluez/hci0/dev_7", 100), std::nullopt);
    });
    EXPECT_TRUE(Sees({"+", "mtu 100"}));
    bluetoothd->Do({{"do", "remove"}, {"path", kDevicePath}});
    EXPECT_TRUE(Sees({"+", "mtu 100", "-"}));
}

TEST_F(TheGattPeers, MayDisconnectSoonAfterTheyUsedAService)
{
    AddDevice();
    // A link of this machine, so that the device becomes a peer by its request only.
    Do([this] { central->shared[kAddress].links = 1; });
    Change(kDevicePath, "Connected", true);
    const std::string path = std::string("/org/bluez/") + kDevicePath;
    ASSERT_TRUE(Eventually([&] {
        const auto device = bluez::DeviceAt(stack->Mirror(), path);
        return device && device->isConnected;
    }));
    Do([&] { EXPECT_EQ(peers->Note(path, 0), kAddress); });
    Change(kDevicePath, "Connected", false);
    EXPECT_TRUE(Sees({"+", "-"}));
}

TEST_F(TheGattPeers, MayUseAServiceBeforeBluezSaysThatTheyAreConnected)
{
    AddDevice();
    const std::string path = std::string("/org/bluez/") + kDevicePath;
    ASSERT_TRUE(Eventually([&] { return stack->Mirror().Find(path, bluez::kDevice) != nullptr; }));
    Do([&] { peers->Note(path, 100); });
    AddDevice("hci0/dev_2", "00:00:00:00:00:02");
    Change("hci0/dev_2", "Connected", true);
    EXPECT_TRUE(Sees({"+", "mtu 100", "+ of another"}));
    Change(kDevicePath, "Connected", true);
    bluetoothd->Kill();
    EXPECT_TRUE(Eventually([this] { return events.size() == 5; }));
    EXPECT_FALSE(Do([this] { return peers->IsConnected(kAddress); }));
}

}  // namespace

}  // namespace pelacon::service::linux_radios::tests
