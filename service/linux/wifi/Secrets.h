// Names and pass phrases of networks.
#pragma once

#include <cstddef>
#include <string>

namespace pelacon::service::linux_radios::wifi {

/// Letters and digits that do not look alike, each drawn from the system's randomness; 5 bits each.
/// Throws std::system_error where the system has none.
std::string DrawLetters(std::size_t count);

}  // namespace pelacon::service::linux_radios::wifi
