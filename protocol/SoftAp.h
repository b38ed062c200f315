// The soft access point that phones join: its life, its counters, its adapter, its events.
#pragma once

#include <PelaconSDK/SoftAp.h>
#include <protocol/Operation.h>

#include <cstddef>

namespace pelacon::protocol {

using namespace std::chrono_literals;

inline constexpr std::size_t kSoftApSsidSize = 32;
inline constexpr std::size_t kSoftApPasswordSize = 256;
inline constexpr std::size_t kSoftApMacSize = 6;
inline constexpr std::size_t kSoftApAddressSize = 16;

/// A creation, asked for and answered in one layout. A request carries requestByte and requestInt,
/// and is zero elsewhere; a reply carries everything else.
struct SoftApInfoMessage {
    char ssid[kSoftApSsidSize];
    char password[kSoftApPasswordSize];
    std::uint8_t mac[kSoftApMacSize];
    std::uint8_t reserved1[2];
    std::uint8_t apByte1;
    std::uint8_t reserved2[3];
    std::uint8_t requestByte;
    char ipAddress[kSoftApAddressSize];  // dotted
    std::uint8_t apByte2;
    std::uint8_t reserved3[2];
    std::int32_t requestInt;
    std::int32_t errorCode;
};
static_assert(sizeof(SoftApInfoMessage) == 328);
static_assert(offsetof(SoftApInfoMessage, password) == 32);
static_assert(offsetof(SoftApInfoMessage, mac) == 288);
static_assert(offsetof(SoftApInfoMessage, apByte1) == 296);
static_assert(offsetof(SoftApInfoMessage, requestByte) == 300);
static_assert(offsetof(SoftApInfoMessage, ipAddress) == 301);
static_assert(offsetof(SoftApInfoMessage, apByte2) == 317);
static_assert(offsetof(SoftApInfoMessage, requestInt) == 320);
static_assert(offsetof(SoftApInfoMessage, errorCode) == 324);

inline constexpr std::size_t kLongestModelName = 255;

struct ModelNameReply {
    char name[kLongestModelName + 1];
    std::uint8_t result;
};
static_assert(sizeof(ModelNameReply) == 257);
static_assert(offsetof(ModelNameReply, result) == 256);

/// Only the status is read by the library; what follows is passed on as it comes.
using SoftApAdvertisement = SoftApAdvertisementState;
static_assert(sizeof(SoftApAdvertisement) == 40);
static_assert(offsetof(SoftApAdvertisement, channel) == 4);
static_assert(offsetof(SoftApAdvertisement, ssid) == 8);

#pragma pack(push, 1)  // the record ends with its one-byte answer
struct ApConnectedReply {
    std::int32_t value;
    char text[32];
    std::uint8_t connected;
};
#pragma pack(pop)
static_assert(sizeof(ApConnectedReply) == 37);
static_assert(offsetof(ApConnectedReply, text) == 4);
static_assert(offsetof(ApConnectedReply, connected) == 36);

inline constexpr Operation<Nothing, ByteReply> kSystemRefreshSoftAPChannel{
    0xD70001, "SystemRefreshSoftAPChannel", 5000ms};
inline constexpr Operation<SoftApInfoMessage, SoftApInfoMessage> kSystemCreateSoftAP{
    0xD70002, "SystemCreateSoftAP", 20000ms};
inline constexpr Operation<Int32Record, Int32Record> kSystemDestroySoftAP{
    0xD70003, "SystemDestroySoftAP", 20000ms};
inline constexpr Operation<Nothing, Acknowledged> kRegistSoftApConnectStatus{
    0xD70005, "RegistSoftApConnectStatus", 5000ms};
inline constexpr Operation<Nothing, ByteReply> kGetSoftAPChannel{0xD70006, "GetSoftAPChannel",
                                                                 5000ms};
inline constexpr Operation<Text, ByteReply> kSetPairDeviceModelName{
    0xD70009, "SetPairDeviceModelName", 5000ms};
inline constexpr Operation<Nothing, ModelNameReply> kGetPairDeviceModelName{
    0xD7000A, "GetPairDeviceModelName", 5000ms};
inline constexpr Operation<Nothing, ByteReply> kGetRestartMobileHotpotFlag{
    0xD7000B, "GetRestartMobileHotpotFlag", 5000ms};
inline constexpr Operation<FlagRequest, Acknowledged> kSetRestartMobileHotpotFlag{
    0xD7000C, "SetRestartMobileHotpotFlag", 5000ms};
inline constexpr Operation<Nothing, Text> kGetLegacyAPIP{0xD7001B, "GetLegacyAPIP", 5000ms};
inline constexpr Operation<Nothing, Acknowledged> kResetWakeUpCount{0xD7001C, "ResetWakeUpCount",
                                                                    5000ms};
inline constexpr Operation<Nothing, Int32Record> kGetWakeUpRestartCount{
    0xD7001D, "GetWakeUpRestartCount", 5000ms};
inline constexpr Operation<Nothing, Int32Record> kGetRestartCount{0xD7001E, "GetRestartCount",
                                                                  5000ms};
inline constexpr Operation<FlagRequest, ByteReply> kRestartWiFiDirectVirtualAdapter{
    0xD7001F, "RestartWiFiDirectVirtualAdapter", 10000ms};
inline constexpr Operation<Nothing, Int32Record> kGetAdapterIndex{0xD70021, "GetAdapterIndex",
                                                                  5000ms};
inline constexpr Operation<Nothing, Text> kGetAdapterGuid{0xD70022, "GetAdapterGuid", 5000ms};
inline constexpr Operation<Nothing, ByteReply> kCheckMySoftAPExist{0xD70023, "CheckMySoftAPExist",
                                                                   5000ms};
inline constexpr Operation<Nothing, Text> kGetSSID{0xD70024, "GetSSID", 5000ms};
inline constexpr Operation<Nothing, Acknowledged> kChangeSSIDAndPasswd{
    0xD70025, "ChangeSSIDAndPasswd", 5000ms};
/// Product types, each followed by a comma.
inline constexpr Operation<Bytes, ByteReply> kSetListProductType{0xD70026, "SetListProductType",
                                                                 5000ms};
inline constexpr Operation<Nothing, Int32Record> kGetSoftApError{0xD70096, "GetSoftApError",
                                                                 5000ms};
inline constexpr Operation<Nothing, ApConnectedReply> kIsAPConnected{0xD70097, "IsAPConnected",
                                                                     5000ms};
inline constexpr Operation<Nothing, StatusReply> kRegisterSoftApNotification{
    0xD70098, "RegisterSoftApNotificationEventCallback", 5000ms};
inline constexpr Operation<Nothing, StatusReply> kUnRegisterSoftApNotification{
    0xD70099, "UnRegisterSoftApNotificationEventCallback", 5000ms};

/// The state of a phone's connection to the soft AP.
inline constexpr Notification<Int32Record> kSoftApConnectStatus{0xD80006, "SoftApConnectStatus"};

/// The state of the soft AP's advertisement: its status first, the rest is the service's.
inline constexpr Notification<SoftApAdvertisement> kSoftApAdvertisement{0xD80007,
                                                                        "SoftApAdvertisement"};

/// The state of a device's connection.
inline constexpr Notification<Int32Record> kSoftApDeviceConnection{0xD80008,
                                                                   "SoftApDeviceConnection"};

}  // namespace pelacon::protocol
