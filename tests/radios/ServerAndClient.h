// Our server on hci1, used by our client on hci0, over BlueZ.
#pragma once

#include <service/linux/bluetooth/GattService.h>
#include <service/radio/Gatt.h>
#include <tests/radios/TwoControllers.h>

#include <gmock/gmock.h>

namespace pelacon::service::linux_radios::bluetooth {

inline const Uuid kService = *protocol::ParseUuid("00000200-1234-5678-1234-56789abcdef0");

inline Uuid UuidOf(std::size_t place)
{
    return *protocol::ParseUuid("0000020" + std::to_string(place) + "-1234-5678-1234-56789abcdef1");
}

enum Place : std::size_t { kValue, kLong, kNotifying, kIndicating, kSecret };

class ServerAndClient : public OverBluez, private GattPeers::Observer {
  protected:
    ServerAndClient()
    {
        Do([this] {
            two->peers.Add(*this);
            service = std::make_unique<GattService>(
                two->stack, two->peers, kService,
                std::vector<GattService::Characteristic>{
                    {UuidOf(kValue), radio::kGattRead | radio::kGattWrite},
                    {UuidOf(kLong), radio::kGattRead},
                    {UuidOf(kNotifying), radio::kGattRead | radio::kGattNotify},
                    {UuidOf(kIndicating), radio::kGattIndicate},
                    {UuidOf(kSecret), radio::kGattWriteWithoutResponse},
                },
                GattService::Callbacks{[this](std::uint64_t, std::size_t place) {
                                           ++reads;
                                           return place == kLong ? Bytes(600, 7) : value;
                                       },
                                       [this](std::uint64_t, std::size_t, const Bytes& written) {
                                           value = written;
                                           ++writes;
                                       },
                                       [this](radio::Outcome now) { shown = now; }});
        });
        EXPECT_TRUE(Eventually([this] { return shown.has_value(); }));
        EXPECT_EQ(shown, radio::Outcome::kDone);
        Advertise();
        Connect();
    }
    ~ServerAndClient() override
    {
        Do([this] { link.reset(); });
        EXPECT_TRUE(Eventually(
            [this] { return one->picture.connected.empty() && two->picture.connected.empty(); }));
        Do([this] {
            two->peers.Remove(*this);
            service.reset();
            two->advertisements.Remove(advertisement);
        });
    }

    void Advertise()
    {
        Do([this] {
            advertised.reset();
            advertisement = two->advertisements.Add(
                {}, [this](radio::Outcome now) { advertised = now; }, [](radio::Outcome) {});
        });
        EXPECT_TRUE(Eventually([this] { return advertised.has_value(); }));
        EXPECT_EQ(advertised, radio::Outcome::kDone);
    }
    void Connect()
    {
        Do([this] {
            isConnected = false;
            link = std::make_unique<GattLink>(
                one->central, two->picture.address,
                GattLink::Callbacks{
                    [this] { isConnected = true; },
                    [this](GattReason why) {
                        isConnected = false;
                        ended = why;
                    },
                    [this](const GattLink::Key&, const Bytes& notified, bool isIndication) {
                        (isIndication ? indications : notifications).push_back(notified);
                    }});
        });
        EXPECT_TRUE(Eventually([this] { return isConnected; }));
        Do([this] { link->Discover(Note()); });
        EXPECT_EQ(Outcome(), GattStatus::kDone);
        EXPECT_TRUE(Eventually([this] { return link->Remote().services.contains(kService); }));
    }
    void PeerConnected(std::uint64_t peer) override { events.push_back("+" + NameOf(peer)); }
    void PeerDisconnected(std::uint64_t peer) override { events.push_back("-" + NameOf(peer)); }
    void PeerMtuChanged(std::uint64_t peer, std::int32_t mtu) override
    {
        events.push_back(NameOf(peer) + " has " + std::to_string(mtu));
    }
    std::string NameOf(std::uint64_t peer) const
    {
        return peer == one->picture.address ? "one" : "another";
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
    GattStatus Write(Place place, const Bytes& bytes)
    {
        Do([&] { link->Write({kService, UuidOf(place)}, bytes, Note()); });
        return Outcome();
    }
    std::optional<Bytes> Read(Place place)
    {
        Bytes bytes;
        Do([&] {
            result.reset();
            link->Read({kService, UuidOf(place)}, [&](GattStatus now, const Bytes& read) {
                bytes = read;
                result = now;
            });
        });
        return Outcome() == GattStatus::kDone ? std::optional(bytes) : std::nullopt;
    }
    void Subscribe(Place place)
    {
        Do([&] { link->Subscribe({kService, UuidOf(place)}, true, Note()); });
        ASSERT_EQ(Outcome(), GattStatus::kDone);
        ASSERT_TRUE(Eventually([&] { return !service->Subscribers(place).empty(); }));
        Do([&] {
            EXPECT_THAT(service->Subscribers(place), testing::ElementsAre(one->picture.address));
        });
    }

    Bytes value{'a'};
    int reads = 0;
    int writes = 0;
    bool isConnected = false;
    std::optional<GattReason> ended;
    std::uint64_t advertisement = 0;  // its number
    std::optional<radio::Outcome> shown;
    std::optional<radio::Outcome> advertised;
    std::optional<GattStatus> result;
    std::vector<std::string> events;
    std::vector<Bytes> notifications;
    std::vector<Bytes> indications;
    std::unique_ptr<GattService> service;
    std::unique_ptr<GattLink> link;
};

}  // namespace pelacon::service::linux_radios::bluetooth
