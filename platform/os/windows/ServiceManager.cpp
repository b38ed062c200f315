#include <os/ServiceManager.h>

namespace pelacon::os {

bool NotifyReady()
{
    return true;
}

}  // namespace pelacon::os
