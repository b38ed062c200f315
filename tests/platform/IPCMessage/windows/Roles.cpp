#include <tests/platform/IPCMessage/peer/Roles.h>

#include <stdexcept>

namespace pelacon::test {

int PlayPlatformRole(const std::string& role)
{
    throw std::runtime_error("unknown role " + role);
}

}  // namespace pelacon::test
