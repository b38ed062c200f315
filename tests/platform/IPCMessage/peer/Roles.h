// The parts that a peer process can play.
#pragma once

#include <string>

namespace pelacon::test {

int PlayRole(const std::string& role);

/// Those that one operating system alone has.
int PlayPlatformRole(const std::string& role);

}  // namespace pelacon::test
