// Our server on hci1, used by our client on hci0, over BlueZ.
#pragma once

#include <service/linux/bluetooth/GattService.h>
#include <service/radio/Gatt.h>
#include <tests/radios/Client.h>

#include <gmock/gmock.h>

namespace pelacon::service::linux_radios::bluetooth {

inline const Uuid kService = *protocol::ParseUuid("00000200-1234-5678-1234-56789abcdef0");

enum Place : std::size_t { kValue, kLong, kNotifying, kIndicating, kSecret };

inline GattLink::Key KeyOf(Place place)
{
    return {kService, *protocol::ParseUuid("0000020" + std::to_string(place) +
                                           "-1234-5678-1234-56789abcdef1")};
}

class ServerAndClient : public Client, private GattPeers::Observer {
  protected:
    ServerAndClient()
    {
        Do([this] {
            two->peers.Add(*this);
            service = std::make_unique<GattService>(
                two->stack, two->peers, kService,
                std::vector<GattService::Characteristic>{
                    {KeyOf(kValue).second, radio::kGattRead | radio::kGattWrite},
                    {KeyOf(kLong).second, radio::kGattRead},
                    {KeyOf(kNotifying).second, radio::kGattRead | radio::kGattNotify},
                    {KeyOf(kIndicating).second, radio::kGattIndicate},
                    {KeyOf(kSecret).second, radio::kGattWriteWithoutResponse},
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
        EXPECT_TRUE(Eventually([this] { return link->Remote().services.contains(kService); }));
    }
    ~ServerAndClient() override
    {
        Disconnect();
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

    void SubscribeTo(Place place)
    {
        ASSERT_EQ(Subscribe(KeyOf(place)), GattStatus::kDone);
        ASSERT_TRUE(Eventually([&] { return !service->Subscribers(place).empty(); }));
        Do([&] {
            EXPECT_THAT(service->Subscribers(place), testing::ElementsAre(one->picture.address));
        });
    }

    Bytes value{'a'};
    int reads = 0;
    int writes = 0;
    std::uint64_t advertisement = 0;  // its number
    std::optional<radio::Outcome> shown;
    std::optional<radio::Outcome> advertised;
    std::vector<std::string> events;
    std::unique_ptr<GattService> service;
};

}  // namespace pelacon::service::linux_radios::bluetooth
