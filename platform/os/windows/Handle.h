// A handle that closes itself.
#pragma once

#include <windows.h>

#include <memory>

namespace pelacon::os {

struct HandleCloser {
    void operator()(HANDLE handle) const noexcept
    {
        if (handle != INVALID_HANDLE_VALUE) {
            CloseHandle(handle);
        }
    }
};

/// Null where there is no handle.
using OwnedHandle = std::unique_ptr<void, HandleCloser>;

/// Takes the result of a call that returns INVALID_HANDLE_VALUE when it fails.
inline OwnedHandle MakeHandle(HANDLE handle) noexcept
{
    return OwnedHandle(handle != INVALID_HANDLE_VALUE ? handle : nullptr);
}

}  // namespace pelacon::os
