#include <os/SharedLibrary.h>

#include <dlfcn.h>

namespace pelacon::os {

void PinThisLibrary()
{
    static const bool pinned = [] {
        Dl_info here{};
        if (dladdr(reinterpret_cast<void*>(&PinThisLibrary), &here) == 0) {
            return false;
        }
        // RTLD_NOLOAD: only the flag is wanted. Fails, harmlessly, where this code is linked into
        // the executable itself.
        return dlopen(here.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE) != nullptr;
    }();
    static_cast<void>(pinned);
}

}  // namespace pelacon::os
