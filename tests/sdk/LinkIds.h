// The ids of the messages by which a service that was started is made known, and repaired.
#pragma once

#include <cstdint>

namespace pelacon::test {

inline constexpr std::int32_t kServiceStarted = 0xD700A0;
inline constexpr std::int32_t kRepair = 0xD700A1;

}  // namespace pelacon::test
