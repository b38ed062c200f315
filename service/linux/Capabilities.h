// What this process may do.
#pragma once

#include <cstdint>

namespace pelacon::service::linux_radios {

enum class Capability : std::uint8_t { kNetAdmin = 12, kNetRaw = 13 };

/// Whether the process has it now. The kernel may refuse all the same, in a container for example.
bool HasCapability(Capability capability);

}  // namespace pelacon::service::linux_radios
