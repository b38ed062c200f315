#include <os/SharedLibrary.h>

#include <dlfcn.h>

#include <atomic>

namespace pelacon::os {

void PinThisLibrary()
{
    // Not the initialiser of a static variable: a child that is forked while another thread runs
    // one would wait for that thread for ever. Pinning twice does no harm.
    static constinit std::atomic<bool> pinned{false};
    if (pinned) {
        return;
    }
    Dl_info here{};
    if (dladdr(reinterpret_cast<void*>(&PinThisLibrary), &here) != 0) {
        // RTLD_NOLOAD: only the flag is wanted. Fails, harmlessly, where this code is linked into
        // the executable itself.
        dlopen(here.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
    }
    pinned = true;
}

}  // namespace pelacon::os
