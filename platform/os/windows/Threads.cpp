#include <os/Threads.h>

#include <process.h>
#include <windows.h>

#include <cerrno>
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
    const auto thread =
        reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, &RunBody, owned.get(), 0, nullptr));
    if (thread == nullptr) {
        throw std::system_error(errno, std::generic_category(), "_beginthreadex");
    }
    static_cast<void>(owned.release());
    CloseHandle(thread);
}

}  // namespace pelacon::os
