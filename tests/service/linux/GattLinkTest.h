// A link to a device that a stand-in of bluetoothd has, with a heart rate service.
#pragma once

#include <service/linux/bluetooth/GattLink.h>
#include <tests/service/linux/GattTest.h>

namespace pelacon::service::linux_radios::tests {

class AGattLink : public GattTest {
  protected:
    explicit AGattLink(std::chrono::microseconds callLimit = dbus::Bus::kUsualLimit)
        : GattTest(callLimit)
    {
        Start();
        EXPECT_TRUE(Eventually([this] { return stack->Adapter().has_value(); }));
    }
    ~AGattLink() override
    {
        Do([this] { link.reset(); });
    }

    void AddServices()
    {
        const std::string service = std::string(kDevicePath) + "/service1";
        bluetoothd->Do({{"do", "service"}, {"path", service}, {"UUID", "180d"}});
        const auto add = [&](const char* name, const char* uuid, const nlohmann::json& flags) {
            bluetoothd->Do({{"do", "characteristic"},
                            {"path", service + "/" + name},
                            {"UUID", uuid},
                            {"Flags", flags},
                            {"MTU", 100}});
        };
        add("char1", "2a37", {"read", "notify"});
        add("char2", "2a39", {"write", "indicate"});
        bluetoothd->Do({{"do", "change"}, {"path", kDevicePath}, {"ServicesResolved", true}});
    }
    std::unique_ptr<GattLink> NewLink()
    {
        return Do([this] {
            return std::make_unique<GattLink>(
                *central, kAddress,
                GattLink::Callbacks{
                    [this] { events.emplace_back("connected"); },
                    [this](GattReason why) {
                        events.push_back(std::string("ended: ") + TextOf(why));
                    },
                    [this](const GattLink::Key& key, const dbus::Bytes& value, bool indication) {
                        values.push_back({key.second, value, indication});
                    }});
        });
    }
    void Connect()
    {
        AddDevice();
        link = NewLink();
        ASSERT_TRUE(Sees({"connected"}));
        AddServices();
        Do([this] { link->Discover(Store()); });
        ASSERT_EQ(Result(), GattStatus::kDone);
    }
    bool Sees(const std::vector<std::string>& expected)
    {
        const bool isSeen = Eventually([&] { return events == expected; });
        EXPECT_EQ(Do([&] { return events; }), expected);
        return isSeen;
    }
    GattLink::Done Store()
    {
        result.reset();
        return [this](GattStatus outcome) { result = outcome; };
    }
    GattLink::OnRead StoreRead()
    {
        result.reset();
        return [this](GattStatus outcome, const dbus::Bytes& bytes) {
            result = outcome;
            read = bytes;
        };
    }
    std::optional<GattStatus> Result()
    {
        EXPECT_TRUE(Eventually([this] { return result.has_value(); }));
        return Do([this] { return result; });
    }

    static const char* TextOf(GattReason reason)
    {
        switch (reason) {
            case GattReason::kNone:
                return "no reason";
            case GattReason::kTimeout:
                return "timeout";
            case GattReason::kRefused:
                return "refused";
            case GattReason::kPeer:
                return "peer";
            case GattReason::kLocal:
                return "local";
            case GattReason::kNotEstablished:
                return "not established";
        }
        return "unknown";
    }

    struct Value {
        Uuid characteristic;
        dbus::Bytes bytes;
        bool isIndication;
    };

    static inline const Uuid kHeartRate = *protocol::ParseUuid("180d");
    static inline const Uuid kMeasurement = *protocol::ParseUuid("2a37");
    static inline const Uuid kControlPoint = *protocol::ParseUuid("2a39");
    static inline const Uuid kOther = *protocol::ParseUuid("2a00");

    std::vector<std::string> events;
    std::vector<Value> values;
    std::optional<GattStatus> result;
    dbus::Bytes read;
    std::unique_ptr<GattLink> link;
};

}  // namespace pelacon::service::linux_radios::tests
