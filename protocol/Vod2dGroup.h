// Wi-Fi Direct groups: creating, removing and describing one, and who is connected to it.
#pragma once

#include <PelaconSDK/Vod2dGroup.h>
#include <protocol/Operation.h>

#include <cstddef>

namespace pelacon::protocol {

using namespace std::chrono_literals;

/// A group as the service describes it.
struct GroupInfo {
    char ssid[32];
    char pwd[256];
    std::uint8_t mac[6];
    std::uint8_t reserved1[2];
    std::int32_t channel;  // in a request the one to use, 0 for any
    std::uint8_t active;
    char ipAddress[16];
    std::uint8_t is5GHz;
    std::uint8_t reserved2[2];
};
static_assert(sizeof(GroupInfo) == 320);
static_assert(offsetof(GroupInfo, pwd) == 32);
static_assert(offsetof(GroupInfo, mac) == 288);
static_assert(offsetof(GroupInfo, channel) == 296);
static_assert(offsetof(GroupInfo, active) == 300);
static_assert(offsetof(GroupInfo, ipAddress) == 301);
static_assert(offsetof(GroupInfo, is5GHz) == 317);

struct GroupInfoReply {
    GroupInfo info;
    std::int32_t status;
};
static_assert(sizeof(GroupInfoReply) == 324);
static_assert(offsetof(GroupInfoReply, status) == 320);

/// Everything but the channel is zero.
struct CreateGroupRequest {
    GroupInfo info;
    std::uint8_t reserved[8];
};
static_assert(sizeof(CreateGroupRequest) == 328);

struct ChannelListReply {
    static constexpr std::size_t kMostChannels = 255;
    std::int32_t channels[kMostChannels];
    std::uint32_t byteCount;  // of the channels
    std::int32_t status;
};
static_assert(sizeof(ChannelListReply) == 1028);
static_assert(offsetof(ChannelListReply, byteCount) == 1020);
static_assert(offsetof(ChannelListReply, status) == 1024);

struct BaseMacReply {
    std::uint8_t mac[6];
    std::uint8_t reserved[2];
    std::int32_t status;
};
static_assert(sizeof(BaseMacReply) == 12);
static_assert(offsetof(BaseMacReply, status) == 8);

struct WifiActiveReply {
    std::uint8_t active;
    std::uint8_t reserved[3];
    std::int32_t status;
};
static_assert(sizeof(WifiActiveReply) == 8);
static_assert(offsetof(WifiActiveReply, status) == 4);

struct LinkGroupReply {
    Vod2dLinkGroup group;
    std::int32_t status;
};
static_assert(sizeof(LinkGroupReply) == 12);
static_assert(offsetof(Vod2dLinkGroup, stationCount) == 4);
static_assert(offsetof(LinkGroupReply, status) == 8);

using GroupChange = Vod2dGroupChange;
static_assert(sizeof(GroupChange) == 8);
static_assert(offsetof(GroupChange, reason) == 4);

#pragma pack(push, 1)  // the record ends with its text, without padding
struct StationChange {
    std::int32_t state;
    char address[13];
    char ipAddress[16];
};
#pragma pack(pop)
static_assert(sizeof(StationChange) == 33);
static_assert(offsetof(StationChange, address) == 4);
static_assert(offsetof(StationChange, ipAddress) == 17);

inline constexpr Operation<Nothing, ChannelListReply> kGetChannelListFor5G{
    0xD70029, "Vod2dGetChannelListFor5G", 5000ms};
inline constexpr Operation<Nothing, Int32Record> kGetFrequency{0xD7002A, "Vod2dGetFrequency",
                                                               5000ms};
inline constexpr Operation<Nothing, BaseMacReply> kGetBaseMacAddress{
    0xD7002B, "Vod2dGetBaseMacAddress", 5000ms};
inline constexpr Operation<Nothing, GroupInfoReply> kGetGroupConfig{0xD7002D, "Vod2dGetGroupConfig",
                                                                    5000ms};
inline constexpr Operation<CreateGroupRequest, GroupInfoReply> kCreateGroup{
    0xD7002E, "Vod2dCreateGroup", 20000ms};
inline constexpr Operation<Nothing, StatusReply> kRemoveGroup{0xD7002F, "Vod2dRemoveGroup",
                                                              20000ms};
inline constexpr Operation<Nothing, WifiActiveReply> kIsWifiActive{0xD70030, "Vod2dIsWifiActive",
                                                                   5000ms};
inline constexpr Operation<Nothing, LinkGroupReply> kGetGroupInfoConnected{
    0xD70031, "Vod2dGetGroupInfoConnected", 5000ms};
inline constexpr Operation<Nothing, StatusReply> kRegisterSoftApStateChanged{
    0xD70032, "Vod2dRegisterSoftAPStateChangedCallback", 5000ms};
inline constexpr Operation<Nothing, StatusReply> kUnRegisterSoftApStateChanged{
    0xD70033, "Vod2dUnRegisterSoftAPStateChangedCallback", 5000ms};

/// A group appeared, went away, or could not be made.
inline constexpr Notification<GroupChange> kSoftApGroupsChange{0xD80038, "SoftAPGroupsChange"};

/// A station joined or left the group.
inline constexpr Notification<StationChange> kSoftApConnectionStateChange{
    0xD80039, "SoftAPConnectionStateChange"};

}  // namespace pelacon::protocol
