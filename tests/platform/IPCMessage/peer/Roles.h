// The roles of a peer process.
#pragma once

#include <string>

namespace pelacon::test {

int PlayRole(const std::string& role);

/// Roles that exist on one operating system only.
int PlayPlatformRole(const std::string& role);

}  // namespace pelacon::test
