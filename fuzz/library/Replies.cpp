// Replies with any payload, of any length, to every operation of the library. The first byte
// chooses the operation, the rest is the reply. What an operation returns is read, within the
// bounds that its header promises.
#include <PelaconSDK/PelaconSDK.h>

#include <fuzz/Input.h>
#include <fuzz/library/Service.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <memory>
#include <vector>

namespace {

using namespace pelacon;
using fuzz::Consume;
using fuzz::ConsumeText;
using fuzz::Require;

using Operation = void (*)();

/// A text that one of the functions with a buffer and a size returns, into buffers of two sizes.
template <typename Function>
void ReadText(Function function)
{
    for (const std::size_t size : {std::size_t{1}, std::size_t{300}}) {
        const auto text = std::make_unique<char[]>(size);
        if (function(text.get(), static_cast<std::int32_t>(size)) >= 0) {
            Require(std::memchr(text.get(), 0, size) != nullptr);
        }
    }
}

/// Channel numbers; the result is how many there are.
template <typename Function>
void ReadChannels(Function function)
{
    const auto channels = std::make_unique<std::int32_t[]>(3);
    const std::int32_t count = function(channels.get(), 3);
    Consume(channels.get(), static_cast<std::size_t>(std::clamp(count, 0, 3)) * 4);
}

constexpr Operation kAdapter[] = {
    [] { BtEnable(); },
    [] { BtDisable(); },
    [] { IsBtEnabled(); },
    [] { GetBtRunningState(); },
    [] { SetBtName("name", 4); },
    [] { IsDeviceConnected(1, kBluetoothLe); },
    [] {
        BtInfo info{};
        GetBtMacAndName(&info);
        Consume(&info, sizeof(info));
    },
    [] {
        for (const std::int32_t room : {1, 64}) {
            const auto name = std::make_unique<std::uint8_t[]>(static_cast<std::size_t>(room));
            std::int32_t size = room;
            if (GetBtName(name.get(), &size) == kBleStatusSuccess) {
                Require(size >= 0 && size <= room);
                Consume(name.get(), static_cast<std::size_t>(size));
            }
        }
    },
};

constexpr Operation kAir[] = {
    [] {
        static BleScanCallbacksC table{};
        int listener = 0;
        if (BleScanRegisterCallbacks(&table, &listener) == kBleStatusSuccess) {
            StartBleScan(listener, kBleScanLowLatency);
            BleScanFilter filter{};
            SetScanFilter(listener, &filter, 1);
            RemoveScanFilter(listener);
            StopBleScan(listener);
            BleScanUnRegisterCallbacks(listener);
        }
    },
    [] {
        static VoviewRecvAdvCallbacksC table{};
        BleRegisterTargetAdvCallback({}, &table);
        BleUnRegisterTargetAdvCallback({});
    },
    [] {
        static BleAdvCallbacksC table{};
        int advertiser = 0;
        if (BleAdvRegisterCallbacks(&table, &advertiser) == kBleStatusSuccess) {
            const BleAdvertiseParamsC parameters{};
            const BleAdvertiseDataC data{};
            BleStartAdvertise(advertiser, &parameters, &data);
            BleStopAdvertise(advertiser);
            BleAdvUnRegisterCallbacks(advertiser);
        }
    },
};

constexpr Operation kGatt[] = {
    [] {
        std::int32_t client = 0;
        if (BleGattClientRegister(&client) == kBleStatusSuccess) {
            BleGattClientUnRegister(client);
        }
    },
    [] { BleGattClientSearchServices(1); },
    [] { BleGattClientGetService(1, "180D"); },
    [] {
        const auto value = std::make_unique<std::uint8_t[]>(kBleGattMaxValueLength);
        std::uint32_t length = kBleGattMaxValueLength;
        if (BleGattClientReadCharacteristic(1, "180D", "2A37", value.get(), &length) ==
            kBleStatusSuccess) {
            Require(length <= kBleGattMaxValueLength);
            Consume(value.get(), length);
        }
    },
    [] {
        const std::uint8_t value = 1;
        BleGattClientWriteCharacteristic(1, "180D", "2A37", &value, 1);
    },
    [] { BleGattClientRegisterNotification(1, "180D", "2A37", true); },
    [] {
        std::int32_t mtu = 0;
        BleGattClientGetMtu(1, &mtu);
    },
    [] {
        static BtGattServerCallbacksC table{};
        std::int32_t server = 0;
        std::int32_t service = 0;
        if (BleGattServerRegister(&table, &server) != kBleStatusSuccess) {
            return;
        }
        BleGattServerAddService(server, "180D", &service);
        BLECharacteristicInfoC characteristic{};
        std::strcpy(characteristic.charUuid, "2A37");
        BleGattServerAddCharacteristic(server, service, &characteristic);
        BleGattServerStartService(server, service);
        const std::uint8_t value = 1;
        BleGattServerPublishNotify(server, service, "2A37", &value, 1, 1);
        BleGattServerStopService(server, service);
        BleGattServerDeleteService(server, service);
        BleGattServerUnRegister(server);
    },
};

constexpr Operation kGroup[] = {
    [] {
        Vod2dSoftAPInfo info{};
        Vod2dCreateGroup(&info);
        Consume(&info, sizeof(info));
    },
    [] { Vod2dRemoveGroup(); },
    [] {
        Vod2dSoftAPInfo info{};
        Vod2dGetGroupConfig(&info);
        Consume(&info, sizeof(info));
    },
    [] {
        Vod2dLinkGroup group{};
        Vod2dGetGroupInfoConnected(&group);
    },
    [] {
        bool isActive = false;
        Vod2dIsWifiActive(&isActive);
    },
    [] { Vod2dGetFrequency(); },
    [] {
        const auto channels = std::make_unique<std::int32_t[]>(3);
        Vod2dGetChannelListFor5G(channels.get(), 3);
    },
    [] {
        std::array<char, 6> address{};
        Vod2dGetBaseMacAddress(address.data(), 6);
    },
    [] {
        std::array<std::uint8_t, 512> configuration{};
        std::int32_t length = 0;
        if (Vod2dGetSelfWifiCfgInfo(kSelfCfgStation, configuration.data(), &length) ==
            kWifiSuccess) {
            Require(length >= 0 && length <= 512);
        }
    },
    [] {
        std::array<std::uint8_t, 1> configuration{};
        Vod2dSetPeerWifiCfgInfo(kPeerCfgStation, configuration.data(), 1);
    },
    [] {
        std::array<char, 256> text{};
        std::int32_t length = 0;
        if (Vod2dGetIfaceCoexistCap(text.data(), &length) == kWifiSuccess) {
            Require(length >= 0 && length <= 256);
        }
    },
    [] {
        const RecommendChannelRequest request{};
        RecommendChannelResponse response{};
        Vod2dGetRecommendChannel(&request, 1, &response);
    },
    [] {
        char name[] = "wlan0";
        std::array<char, 39> guid{};
        GetGuidByInterfaceName(name, 5, 39, guid.data());
    },
    [] { Vod2dOrvidSharedlinkIncrease(); },
    [] { Vod2dOrvidSharedlinkDecrease(); },
};

constexpr Operation kSoftAp[] = {
    [] {
        SoftAPInfoC info{};
        WifiSystemCreateSoftAP(&info);
        ConsumeText(info.ssid);
        ConsumeText(info.password);
        ConsumeText(info.ipAddress);
    },
    [] { WifiSystemDestroySoftAP(kGoPurposeAny); },
    [] { WifiSystemRefreshSoftAPChannel(); },
    [] { WifiSystemGetSoftAPChannel(); },
    [] { WifiSystemCheckMySoftAPExist(); },
    [] { WifiSystemChangeSSIDAndPasswd(); },
    [] { WifiSystemGetSoftApError(); },
    [] { ReadText(&WifiSystemGetSSID); },
    [] { ReadText(&WifiSystemGetLegacyAPIP); },
    [] { ReadText(&WifiSystemGetPairDeviceModelName); },
    [] { ReadText(&WifiSystemGetAdapterGuid); },
    [] {
        std::int32_t channel = 0;
        std::array<char, 33> ssid{};
        WifiSystemIsAPConnected(&channel, ssid.data(), 33);
    },
    [] { WifiSystemSetPairDeviceModelName("model"); },
    [] {
        const char* const types[] = {"phone", "tablet"};
        WifiSystemSetListProductType(types, 2);
    },
    [] { WifiSystemGetRestartMobileHotpotFlag(); },
    [] { WifiSystemSetRestartMobileHotpotFlag(true); },
    [] { WifiSystemRestartWiFiDirectVirtualAdapter(true); },
    [] { WifiSystemGetRestartCount(); },
    [] { WifiSystemGetWakeUpRestartCount(); },
    [] { WifiSystemResetWakeUpCount(); },
    [] { WifiSystemGetAdapterIndex(); },
};

constexpr Operation kChannels[] = {
    [] {
        for (const std::int32_t size : {1, 258}) {
            const auto first = std::make_unique<char[]>(static_cast<std::size_t>(size));
            const auto second = std::make_unique<char[]>(static_cast<std::size_t>(size));
            std::int32_t current = 0;
            if (WifiSystemGetPCChannelList(first.get(), size, second.get(), size, &current)) {
                ConsumeText(first.get());
                ConsumeText(second.get());
            }
        }
    },
    [] {
        const auto first = std::make_unique<std::int32_t[]>(3);
        const auto second = std::make_unique<std::int32_t[]>(3);
        std::int32_t counts[2] = {3, 3};
        std::int32_t current = 0;
        WifiSystemGetPCSupportChannelList(first.get(), &counts[0], second.get(), &counts[1],
                                          &current);
    },
    [] { WifiSystemGetRecordPhoneChannel(); },
    [] { ReadChannels(&WifiSystemGetRecordPhoneChannelList); },
    [] { ReadChannels(&WifiSystemGetRecordPhone24GChannelList); },
    [] { ReadText(&WifiSystemGetPhoneChannelList); },
    [] { WifiSystemRepickChannelWithoutEffect(true); },
    [] { WifiSystemSetAPFrequence(true); },
    [] { WifiSystemGetFrequenceType(36); },
    [] { WifiSystemIs5GChannel(36); },
    [] { WifiSystemIs24GChannel(6); },
    [] { WifiSystemGetFrequencyFromChannel(36); },
    [] { WifiSystemEnableWifi(true); },
    [] { WifiSystemGetWifiState(); },
};

const std::vector<Operation>& Operations()
{
    static const std::vector<Operation> all = [] {
        std::vector<Operation> joined;
        const auto add = [&](const auto& family) {
            joined.insert(joined.end(), std::begin(family), std::end(family));
        };
        add(kAdapter);
        add(kAir);
        add(kGatt);
        add(kGroup);
        add(kSoftAp);
        add(kChannels);
        return joined;
    }();
    return all;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    [[maybe_unused]] static const bool isStarted = PelaconSvcStart() == 0;
    fuzz::Input input(data, size);
    const Operation operation = Operations()[input.Take<std::uint8_t>() % Operations().size()];
    if (input.IsEmpty()) {
        fuzz::AnswerWithNothing();
    } else {
        fuzz::AnswerWith(input.Rest());
    }
    operation();
    return 0;
}
