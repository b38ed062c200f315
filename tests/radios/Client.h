// Our client on hci0, with a device on hci1.
#pragma once

#include <service/linux/bluetooth/GattLink.h>
#include <tests/radios/TwoControllers.h>

#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace pelacon::service::linux_radios::bluetooth {

class Client : public OverBluez {
  protected:
    using Key = GattLink::Key;

    /// The connection of the test before may still be ending, on both sides.
    Client() { EXPECT_TRUE(IsDisconnected()); }
    ~Client() override { Disconnect(); }

    bool IsDisconnected()
    {
        return Eventually(
            [this] { return one->picture.connected.empty() && two->picture.connected.empty(); });
    }
    /// On both sides, as the next test's stack does not know that the device is being left.
    void Disconnect()
    {
        Do([this] { link.reset(); });
        EXPECT_TRUE(IsDisconnected());
    }

    /// And discovers the services.
    void Connect()
    {
        Do([this] {
            isConnected = false;
            link = std::make_unique<GattLink>(
                one->central, two->picture.address,
                GattLink::Callbacks{[this] { isConnected = true; },
                                    [this](GattReason why) {
                                        isConnected = false;
                                        ended = why;
                                    },
                                    [this](const Key& key, const Bytes& value, bool isIndication) {
                                        (isIndication ? indications : notifications)[key].push_back(
                                            value);
                                    }});
        });
        EXPECT_TRUE(Eventually([this] { return isConnected; }));
        Do([this] { link->Discover(Note()); });
        EXPECT_EQ(Outcome(), GattStatus::kDone);
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
    GattStatus Write(const Key& key, const Bytes& bytes)
    {
        Do([&] { link->Write(key, bytes, Note()); });
        return Outcome();
    }
    std::optional<Bytes> Read(const Key& key)
    {
        Bytes bytes;
        Do([&] {
            link->Read(key, [&bytes, note = Note()](GattStatus now, const Bytes& read) {
                bytes = read;
                note(now);
            });
        });
        return Outcome() == GattStatus::kDone ? std::optional(bytes) : std::nullopt;
    }
    GattStatus Subscribe(const Key& key, bool enable = true)
    {
        Do([&] { link->Subscribe(key, enable, Note()); });
        return Outcome();
    }

    bool isConnected = false;
    std::optional<GattReason> ended;
    std::optional<GattStatus> result;
    std::map<Key, std::vector<Bytes>> notifications;
    std::map<Key, std::vector<Bytes>> indications;
    std::unique_ptr<GattLink> link;
};

}  // namespace pelacon::service::linux_radios::bluetooth
