// What every C entry point has in common: no exception leaves it, and no thread ends inside it.
#pragma once

#include <os/Cancellation.h>
#include <sdk/diag/Log.h>

#include <exception>

namespace pelacon {

/// Calls the member behind a C entry point. An exception (std::bad_alloc) is logged, and the result
/// is `whenThrown`. A pthread_cancel, which C++ code does not survive everywhere, waits.
template <typename Result, typename Member>
Result CEntry(const char* function, Result whenThrown, const Member& member) noexcept
{
    const os::NoCancellation untilReturned;
    try {
        return member();
    } catch (const std::exception& exception) {
        diag::Log(kLogFailure, function, "exception: ", exception.what());
    } catch (...) {
        diag::Log(kLogFailure, function, "exception");
    }
    return whenThrown;
}

}  // namespace pelacon
