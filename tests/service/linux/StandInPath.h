// Where the programs are that play others.
#pragma once

#include <string>

namespace pelacon::service::linux_radios::tests {

/// The path of a script in stand_ins/.
std::string PathOfStandIn(const std::string& script);

}  // namespace pelacon::service::linux_radios::tests
