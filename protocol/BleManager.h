// The adapter: on and off, name, address, state.
#pragma once

#include <PelaconSDK/BleManager.h>
#include <protocol/Operation.h>

#include <cstddef>

namespace pelacon::protocol {

using namespace std::chrono_literals;

inline constexpr std::size_t kBtNameSize = sizeof BtInfo::name;

#pragma pack(push, 4)  // the record ends with its status, without padding
struct MacAndNameReply {
    std::uint64_t mac;  // in the low six bytes
    char name[kBtNameSize];
    std::int32_t status;
};
#pragma pack(pop)
static_assert(sizeof(MacAndNameReply) == 76);
static_assert(offsetof(MacAndNameReply, name) == 8);
static_assert(offsetof(MacAndNameReply, status) == 72);

struct BtNameReply {
    char name[kBtNameSize];
    std::int32_t status;
};
static_assert(sizeof(BtNameReply) == 68);
static_assert(offsetof(BtNameReply, status) == 64);

struct DeviceConnectedRequest {
    std::int32_t type;
    std::uint8_t reserved[4];
    std::uint64_t address;
};
static_assert(sizeof(DeviceConnectedRequest) == 16);
static_assert(offsetof(DeviceConnectedRequest, address) == 8);

inline constexpr Operation<Nothing, StatusReply> kRegisterBtStateChange{
    0xD7005A, "RegisterBtStateChangeCallbacks", 10000ms};
inline constexpr Operation<Nothing, StatusReply> kBtEnable{0xD7005C, "BtEnable", 10000ms};
inline constexpr Operation<Nothing, StatusReply> kBtDisable{0xD7005D, "BtDisable", 10000ms};
inline constexpr Operation<Nothing, ByteReply> kIsBtEnabled{0xD7005E, "IsBtEnabled", 10000ms};
inline constexpr Operation<Nothing, MacAndNameReply> kGetBtMacAndName{0xD7005F, "GetBtMacAndName",
                                                                      10000ms};
inline constexpr Operation<Text, StatusReply> kSetBtName{0xD70060, "SetBtName", 10000ms};
inline constexpr Operation<Nothing, BtNameReply> kGetBtName{0xD70061, "GetBtName", 10000ms};
inline constexpr Operation<Nothing, Int32Record> kGetBtRunningState{0xD70063, "GetBtRunningState",
                                                                    10000ms};
inline constexpr Operation<DeviceConnectedRequest, Int32Record> kIsDeviceConnected{
    0xD700AA, "IsDeviceConnected", 10000ms};

/// The adapter's new state.
inline constexpr Notification<Int32Record> kBtStateChanged{0xD80062, "BtStateChanged"};

}  // namespace pelacon::protocol
