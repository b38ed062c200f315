#include <os/Threads.h>

#include <process.h>
#include <windows.h>

#include <cerrno>
#include <cstdint>
#include <memory>
#include <system_error>
#include <utility>

namespace pelacon::os {

namespace {

unsigned __stdcall RunBody(void* argument)
{
    const std::unique_ptr<std::function<void()>> body(
        static_cast<std::function<void()>*>(argument));
    (*body)();
    return 0;
}

}  // namespace

void StartDetachedThread(std::function<void()> body)
{
    auto owned = std::make_unique<std::function<void()>>(std::move(body));
    const std::uintptr_t thread = _beginthreadex(nullptr, 0, &RunBody, owned.get(), 0, nullptr);
    if (thread == 0) {
        throw std::system_error(errno, std::generic_category(), "_beginthreadex");
    }
    static_cast<void>(owned.release());
    CloseHandle(reinterpret_cast<HANDLE>(thread));  // NOLINT(performance-no-int-to-ptr)
}

}  // namespace pelacon::os
