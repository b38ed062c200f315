#include <os/Fork.h>

namespace pelacon::os {

void OnForkedChild(void (* /*action*/)()) {}

}  // namespace pelacon::os
