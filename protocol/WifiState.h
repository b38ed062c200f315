// The Wi-Fi switch, and the channel of the Wi-Fi connection.
#pragma once

#include <protocol/Operation.h>

namespace pelacon::protocol {

using namespace std::chrono_literals;

inline constexpr Operation<FlagRequest, Int32Record> kEnableWifi{0xD7009A, "EnableWifi", 10000ms};
inline constexpr Operation<Nothing, Int32Record> kGetWifiState{0xD7009B, "GetWifiState", 5000ms};
inline constexpr Operation<Nothing, ByteReply> kRegistWifiStateChangeCallback{
    0xD7009C, "RegistWifiStateChangeCallback", 5000ms};
inline constexpr Operation<Nothing, ByteReply> kUnRegistWifiStateChangeCallback{
    0xD7009D, "UnRegistWifiStateChangeCallback", 5000ms};

/// For the connection's channel; one letter apart from the registration for the switch.
inline constexpr Operation<Nothing, ByteReply> kRegistWifiStateChangeCallBack{
    0xD70007, "RegistWifiStateChangeCallBack", 5000ms};

/// The channel of the Wi-Fi connection.
inline constexpr Notification<Int32Record> kWifiConnectChannel{0xD70008, "WifiConnectChannel"};

/// The Wi-Fi switch's new state.
inline constexpr Notification<Int32Record> kWifiSwitchState{0xD80096, "WifiSwitchState"};

}  // namespace pelacon::protocol
