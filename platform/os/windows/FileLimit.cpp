#include <os/FileLimit.h>

namespace pelacon::os {

void RaiseFileLimit() noexcept {}

}  // namespace pelacon::os
