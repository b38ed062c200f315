#include <service/linux/bluetooth/Bluez.h>
#include <tests/service/linux/OnLoop.h>
#include <tests/service/linux/PrivateBus.h>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace pelacon::service::linux_radios::tests {

namespace {

using nlohmann::json;
using testing::Contains;
using testing::ElementsAre;
using namespace bluetooth;

/// Notes what is reported, one line each.
class Notes : public dbus::ObjectMirror::Observer {
  public:
    void Appeared() override { lines.emplace_back("there"); }
    void Vanished() override { lines.emplace_back("gone"); }
    void Added(const std::string& path, const std::string& interface) override
    {
        lines.push_back("+ " + path + " " + interface);
    }
    void Removed(const std::string& path, const std::string& interface,
                 const dbus::Properties&) override
    {
        lines.push_back("- " + path + " " + interface);
    }
    void Changed(const std::string& path, const std::string&,
                 const dbus::Properties& changed) override
    {
        for (const auto& [name, value] : changed) {
            lines.push_back("= " + path + " " + name);
        }
    }

    std::vector<std::string> lines;
};

class TheMirrorOfBluez : public LoopTest {
  protected:
    ~TheMirrorOfBluez() override { Stop(); }

    void Start()
    {
        Do([this] {
            connection = std::make_unique<dbus::Bus>(loop, [] {});
            mirror = std::make_unique<dbus::ObjectMirror>(*connection, bluez::kService, "/", notes);
        });
    }
    void Stop()
    {
        Do([this] {
            mirror.reset();
            connection.reset();
        });
    }
    bool Hears(const std::string& line)
    {
        return Eventually([&] {
            return std::find(notes.lines.begin(), notes.lines.end(), line) != notes.lines.end();
        });
    }

    PrivateBus bus;
    Notes notes;
    std::unique_ptr<dbus::Bus> connection;
    std::unique_ptr<dbus::ObjectMirror> mirror;
};

TEST_F(TheMirrorOfBluez, ReportsThatBluezIsMissing)
{
    Start();
    ASSERT_TRUE(Hears("gone"));
    EXPECT_FALSE(mirror->IsThere());
}

TEST_F(TheMirrorOfBluez, ReadsTheObjectsOfBluez)
{
    StandIn bluetoothd("bluez.py");
    bluetoothd.Do({{"do", "adapter"}, {"name", "hci1"}, {"Address", "00:AA:01:00:00:01"}});
    bluetoothd.Do({{"do", "adapter"},
                   {"name", "hci0"},
                   {"Address", "00:AA:01:00:00:00"},
                   {"Alias", "desk"},
                   {"Powered", true}});
    const std::string device = "hci0/dev_C1_02_03_04_05_06";
    bluetoothd.Do({{"do", "device"},
                   {"path", device},
                   {"Address", "C1:02:03:04:05:06"},
                   {"AddressType", "random"},
                   {"Connected", true}});
    bluetoothd.Do({{"do", "service"}, {"path", device + "/service0001"}, {"UUID", "180d"}});
    bluetoothd.Do({{"do", "characteristic"},
                   {"path", device + "/service0001/char0002"},
                   {"UUID", "2a37"},
                   {"Flags", {"read", "notify"}},
                   {"MTU", 517}});
    Start();
    ASSERT_TRUE(Hears("there"));
    Do([this] {
        const auto first = bluez::FindAdapter(*mirror, "");
        ASSERT_TRUE(first);
        EXPECT_EQ(first->path, "/org/bluez/hci0");
        EXPECT_EQ(first->name, "desk");
        EXPECT_EQ(first->address, 0x00AA01000000U);
        EXPECT_TRUE(first->isOn);
        EXPECT_EQ(bluez::FindAdapter(*mirror, "hci1")->address, 0x00AA01000001U);
        EXPECT_FALSE(bluez::FindAdapter(*mirror, "hci2"));
        const auto found = bluez::FindDevice(*mirror, first->path, 0xC10203040506U);
        ASSERT_TRUE(found);
        EXPECT_TRUE(found->isRandom);
        EXPECT_TRUE(found->isConnected);
        EXPECT_FALSE(found->areServicesResolved);
        EXPECT_EQ(found->adapter, first->path);
        EXPECT_FALSE(bluez::FindDevice(*mirror, "/org/bluez/hci1", 0xC10203040506U));
        const auto services = bluez::Services(*mirror, found->path);
        ASSERT_EQ(services.size(), 1U);
        EXPECT_EQ(services[0].uuid, "180d");
        const auto characteristics = bluez::Characteristics(*mirror, services[0].path);
        ASSERT_EQ(characteristics.size(), 1U);
        EXPECT_TRUE(characteristics[0].Has("notify"));
        EXPECT_FALSE(characteristics[0].Has("write"));
        EXPECT_EQ(characteristics[0].mtu, 517);
    });
}

TEST_F(TheMirrorOfBluez, FollowsChanges)
{
    StandIn bluetoothd("bluez.py");
    Start();
    ASSERT_TRUE(Hears("there"));
    bluetoothd.Do({{"do", "adapter"}, {"name", "hci0"}});
    ASSERT_TRUE(Hears("+ /org/bluez/hci0 org.bluez.Adapter1"));
    bluetoothd.Do({{"do", "change"}, {"path", "hci0"}, {"Powered", true}});
    ASSERT_TRUE(Hears("= /org/bluez/hci0 Powered"));
    Do([this] { EXPECT_TRUE(bluez::AdapterAt(*mirror, "/org/bluez/hci0")->isOn); });
    bluetoothd.Do({{"do", "device"}, {"path", "hci0/dev_1"}});
    bluetoothd.Do({{"do", "remove"}, {"path", "hci0"}});
    ASSERT_TRUE(Hears("- /org/bluez/hci0 org.bluez.Adapter1"));
    EXPECT_THAT(Do([this] { return notes.lines; }),
                Contains("- /org/bluez/hci0/dev_1 org.bluez.Device1"));
    Do([this] { EXPECT_TRUE(mirror->All().empty()); });
}

TEST_F(TheMirrorOfBluez, AsksForWhatChangesWithoutASignal)
{
    StandIn bluetoothd("bluez.py");
    const std::string path = "/org/bluez/hci0/dev_1";
    bluetoothd.Do({{"do", "adapter"}, {"name", "hci0"}});
    bluetoothd.Do({{"do", "device"}, {"path", "hci0/dev_1"}});
    Start();
    ASSERT_TRUE(Hears("there"));
    bluetoothd.Do({{"do", "set"}, {"path", "hci0/dev_1"}, {"Connected", true}});
    Do([&] {
        mirror->Refresh(path, bluez::kDevice, "NoSuchProperty");
        mirror->Refresh("/org/bluez/hci7", bluez::kDevice, "Connected");
        mirror->Refresh(path, bluez::kDevice, "Connected");
    });
    ASSERT_TRUE(Hears("= " + path + " Connected"));
    Do([&] { EXPECT_TRUE(bluez::DeviceAt(*mirror, path)->isConnected); });
}

TEST_F(TheMirrorOfBluez, IsEmptiedWithBluezAndFilledWithIt)
{
    {
        StandIn bluetoothd("bluez.py");
        bluetoothd.Do({{"do", "adapter"}, {"name", "hci0"}});
        bluetoothd.Do({{"do", "device"}, {"path", "hci0/dev_1"}});
        Start();
        ASSERT_TRUE(Hears("there"));
        bluetoothd.Kill();
        ASSERT_TRUE(Hears("gone"));
    }
    EXPECT_THAT(Do([this] { return notes.lines; }),
                ElementsAre("+ /org/bluez/hci0 org.bluez.Adapter1",
                            "+ /org/bluez/hci0 org.bluez.GattManager1",
                            "+ /org/bluez/hci0 org.bluez.LEAdvertisingManager1",
                            "+ /org/bluez/hci0/dev_1 org.bluez.Device1", "there",
                            "- /org/bluez/hci0/dev_1 org.bluez.Device1",
                            "- /org/bluez/hci0 org.bluez.Adapter1",
                            "- /org/bluez/hci0 org.bluez.GattManager1",
                            "- /org/bluez/hci0 org.bluez.LEAdvertisingManager1", "gone"));
    Do([this] {
        EXPECT_FALSE(mirror->IsThere());
        notes.lines.clear();
    });
    StandIn bluetoothd("bluez.py");
    ASSERT_TRUE(Hears("there"));
}

TEST_F(TheMirrorOfBluez, StaysEmptyWhileTheListIsRefused)
{
    StandIn bluetoothd("bluez.py");
    bluetoothd.Do({{"do", "adapter"}, {"name", "hci0"}});
    bluetoothd.Do({{"do", "fail"},
                   {"method", "GetManagedObjects"},
                   {"error", "org.freedesktop.DBus.Error.AccessDenied"}});
    Start();
    ASSERT_TRUE(Hears("gone"));
    // A new object does not complete a copy that is not complete: all objects are listed again.
    bluetoothd.Do({{"do", "device"}, {"path", "hci0/dev_1"}});
    ASSERT_TRUE(Hears("there"));
    EXPECT_THAT(Do([this] { return notes.lines; }),
                ElementsAre("gone", "+ /org/bluez/hci0 org.bluez.Adapter1",
                            "+ /org/bluez/hci0 org.bluez.GattManager1",
                            "+ /org/bluez/hci0 org.bluez.LEAdvertisingManager1",
                            "+ /org/bluez/hci0/dev_1 org.bluez.Device1", "there"));
}

}  // namespace

}  // namespace pelacon::service::linux_radios::tests
