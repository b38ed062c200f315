// What two devices must agree on before a Wi-Fi Direct link: configuration, channels, card states.
#pragma once

#include <PelaconSDK/Vod2dConfig.h>
#include <protocol/Operation.h>

#include <cstddef>
#include <type_traits>

namespace pelacon::protocol {

using namespace std::chrono_literals;

inline constexpr std::size_t kWifiCfgSize = sizeof Vod2dWifiCfgEvent::blob;

struct SelfWifiCfgReply {
    std::uint8_t blob[kWifiCfgSize];
    std::int32_t length;
    std::int32_t status;
};
static_assert(sizeof(SelfWifiCfgReply) == 520);
static_assert(offsetof(SelfWifiCfgReply, length) == 512);
static_assert(offsetof(SelfWifiCfgReply, status) == 516);

/// A configuration with its type: set by an application, or notified to one.
using WifiCfg = Vod2dWifiCfgEvent;
static_assert(sizeof(WifiCfg) == 520);
static_assert(offsetof(WifiCfg, blob) == 4);
static_assert(offsetof(WifiCfg, length) == 516);

struct IfaceCoexistCapReply {
    char capability[256];
    std::int32_t length;
    std::int32_t status;
};
static_assert(sizeof(IfaceCoexistCapReply) == 264);
static_assert(offsetof(IfaceCoexistCapReply, length) == 256);
static_assert(offsetof(IfaceCoexistCapReply, status) == 260);

/// What one side of a link can do, and how many sides one request has at most.
using ChannelWish = RecommendChannelRequest;
inline constexpr std::size_t kMostWishes = 10;
static_assert(sizeof(ChannelWish) == 68);
static_assert(offsetof(ChannelWish, bandwidth) == 4);
static_assert(offsetof(ChannelWish, channelCount) == 8);
static_assert(offsetof(ChannelWish, channels) == 12);

using RecommendedChannel = RecommendChannelResponse;
static_assert(sizeof(RecommendedChannel) == 24);
static_assert(offsetof(RecommendedChannel, frequency) == 4);
static_assert(offsetof(RecommendedChannel, band) == 8);
static_assert(offsetof(RecommendedChannel, bandwidth) == 12);
static_assert(offsetof(RecommendedChannel, load) == 16);
static_assert(offsetof(RecommendedChannel, satisfied) == 20);

struct RecommendChannelReply {
    RecommendedChannel response;
    std::int32_t status;
};
static_assert(sizeof(RecommendChannelReply) == 28);
static_assert(offsetof(RecommendChannelReply, status) == 24);

using CardState = WifiCardStateInfo;
static_assert(sizeof(CardState) == 8);
static_assert(offsetof(CardState, state) == 4);

using CardStateChange = WifiCardStateEvent;
static_assert(sizeof(CardStateChange) == 48);
static_assert(offsetof(CardStateChange, changed) == 40);
static_assert(offsetof(CardStateChange, count) == 44);

inline constexpr std::size_t kMostCards = std::extent_v<decltype(CardStateChange::cards)>;

struct CardStateReply {
    CardState entries[kMostCards];
    std::int32_t count;
    std::int32_t status;
};
static_assert(sizeof(CardStateReply) == 48);
static_assert(offsetof(CardStateReply, count) == 40);
static_assert(offsetof(CardStateReply, status) == 44);

using ConnNotifyRequest = Vod2dConnNotifyRequest;
static_assert(sizeof(ConnNotifyRequest) == 32);
static_assert(offsetof(ConnNotifyRequest, address) == 4);
static_assert(offsetof(ConnNotifyRequest, reserved) == 17);

struct UpperSceneRequest {
    char ifName[32];
    std::int32_t ifNameLength;  // as the application gave it, also where the name was cut
    Vod2dUpperScene scene;
};
static_assert(sizeof(UpperSceneRequest) == 56);
static_assert(offsetof(UpperSceneRequest, ifNameLength) == 32);
static_assert(offsetof(UpperSceneRequest, scene) == 36);
static_assert(offsetof(Vod2dUpperScene, scene) == 16);

struct InterfaceGuidReply {
    std::int32_t index;
    char guid[39];
    std::uint8_t reserved;
    std::int32_t status;
};
static_assert(sizeof(InterfaceGuidReply) == 48);
static_assert(offsetof(InterfaceGuidReply, guid) == 4);
static_assert(offsetof(InterfaceGuidReply, status) == 44);

inline constexpr Operation<Int32Record, SelfWifiCfgReply> kGetSelfWifiCfgInfo{
    0xD70034, "Vod2dGetSelfWifiCfgInfo", 5000ms};
inline constexpr Operation<WifiCfg, StatusReply> kSetPeerWifiCfgInfo{
    0xD70035, "Vod2dSetPeerWifiCfgInfo", 5000ms};
inline constexpr Operation<Nothing, StatusReply> kSharedlinkIncrease{
    0xD70036, "Vod2dOrvidSharedlinkIncrease", 5000ms};
inline constexpr Operation<Nothing, StatusReply> kSharedlinkDecrease{
    0xD70037, "Vod2dOrvidSharedlinkDecrease", 5000ms};

/// Another operation has this id too, with a payload of 4 bytes.
inline constexpr Operation<Nothing, IfaceCoexistCapReply> kGetIfaceCoexistCap{
    0xD7007D, "Vod2dGetIfaceCoexistCap", 5000ms};

/// The request is up to ten ChannelWish records.
inline constexpr Operation<Bytes, RecommendChannelReply> kGetRecommendChannel{
    0xD7007E, "Vod2dGetRecommendChannel", 5000ms};
inline constexpr Operation<ConnNotifyRequest, StatusReply> kSetConnNotify{
    0xD7007F, "Vod2dSetConnNotify", 5000ms};
inline constexpr Operation<UpperSceneRequest, StatusReply> kSetUpperScene{
    0xD70080, "Vod2dSetUpperScene", 5000ms};
inline constexpr Operation<Nothing, StatusReply> kRegisterWifiCfg{
    0xD70081, "Vod2dRegisterWifiCfgCallback", 5000ms};
inline constexpr Operation<Text, InterfaceGuidReply> kGetGuidByInterfaceName{
    0xD70082, "GetGuidByInterfaceName", 5000ms};
inline constexpr Operation<CardState, CardStateReply> kSetWifiCardStateNotify{
    0xD70083, "Vod2dSetWifiCardStateNotify", 5000ms};

/// Another application has set a configuration.
inline constexpr Notification<WifiCfg> kWifiCfgChanged{0xD80087, "WifiCfg"};

/// A connection that an application asked about has changed.
inline constexpr Notification<WifiCfg> kConnNotify{0xD80088, "ConnNotify"};

/// A Wi-Fi card has changed its state.
inline constexpr Notification<CardStateChange> kWifiCardStateChange{0xD8008B,
                                                                    "WifiCardStateChange"};

}  // namespace pelacon::protocol
