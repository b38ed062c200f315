// What every C entry point has in common: it lets nothing out.
#pragma once

#include <sdk/diag/Log.h>

#include <exception>

namespace pelacon {

/// Calls the member behind a C entry point; an exception (want of memory, a mutex that cannot be
/// locked) is logged and becomes the result named.
template <typename Result, typename Member>
Result CEntry(const char* function, Result whenThrown, const Member& member) noexcept
{
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
