// Ids of Vod2dApi messages that tests in several files use.
#pragma once

#include <cstdint>

namespace pelacon::test {

inline constexpr std::int32_t kFrequency = 0xD7002A;
inline constexpr std::int32_t kCreateGroup = 0xD7002E;
inline constexpr std::int32_t kRemoveGroup = 0xD7002F;
inline constexpr std::int32_t kWifiActive = 0xD70030;
inline constexpr std::int32_t kRegister = 0xD70032;
inline constexpr std::int32_t kUnregister = 0xD70033;
inline constexpr std::int32_t kSetConnNotify = 0xD7007F;
inline constexpr std::int32_t kRegisterCfg = 0xD70081;
inline constexpr std::int32_t kSetCardState = 0xD70083;
inline constexpr std::int32_t kGroupsChange = 0xD80038;

}  // namespace pelacon::test
