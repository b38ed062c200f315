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
    /// Waits for both sides: the next test has a new stack, which has no record of a disconnection
    /// under way.
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
        Do([&] {
            link->Read(key, [this, note = Note()](GattStatus now, const Bytes& read) {
                lastRead = read;
                note(now);
            });
        });
        return Outcome() == GattStatus::kDone ? std::optional(lastRead) : std::nullopt;
    }
    GattStatus Subscribe(const Key& key, bool enable = true)
    {
        Do([&] { link->Subscribe(key, enable, Note()); });
        return Outcome();
    }

    /// What has been received so far; for the test's thread.
    std::vector<Bytes> Notifications(const Key& key)
    {
        std::vector<Bytes> received;
        Do([&] { received = notifications[key]; });
        return received;
    }
    std::vector<Bytes> Indications(const Key& key)
    {
        std::vector<Bytes> received;
        Do([&] { received = indications[key]; });
        return received;
    }

    // Used in the loop's thread.
    bool isConnected = false;
    std::optional<GattReason> ended;
    std::optional<GattStatus> result;
    Bytes lastRead;
    std::map<Key, std::vector<Bytes>> notifications;
    std::map<Key, std::vector<Bytes>> indications;
    std::unique_ptr<GattLink> link;
};

}  // namespace pelacon::service::linux_radios::bluetooth
