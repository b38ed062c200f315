// The capabilities of this process.
#pragma once

#include <cstdint>

namespace pelacon::service::linux_radios {

enum class Capability : std::uint8_t { kNetBindService = 10, kNetAdmin = 12, kNetRaw = 13 };

/// Whether it is effective now. The kernel may refuse an operation all the same, for example in a
/// container.
bool HasCapability(Capability capability);

}  // namespace pelacon::service::linux_radios
