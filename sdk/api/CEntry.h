// What every C entry point has in common: no exception leaves it, and no thread ends inside it.
#pragma once

#include <os/Cancellation.h>
#include <sdk/diag/Log.h>

#include <exception>
#include <type_traits>
#include <utility>

namespace pelacon {

/// What a C entry point returns when an exception ended it, and the name of the entry point, which
/// is the function that this is made in.
template <typename Result>
struct WhenThrown {
    WhenThrown(Result toReturn, const char* name = __builtin_FUNCTION())
        : result(toReturn), function(name)
    {}

    Result result;
    const char* function;
};

template <>
struct WhenThrown<void> {
    WhenThrown(const char* name = __builtin_FUNCTION()) : function(name) {}

    const char* function;
};

/// Runs the body of a C entry point. An exception (std::bad_alloc) is logged. A pthread_cancel,
/// which C++ code does not survive everywhere, waits until this returns.
template <typename Body>
auto CEntry(WhenThrown<std::invoke_result_t<Body>> whenThrown, const Body& body) noexcept
{
    const os::NoCancellation untilReturned;
    try {
        return body();
    } catch (const std::exception& exception) {
        diag::Log(kLogFailure, whenThrown.function, "exception: ", exception.what());
    } catch (...) {
        diag::Log(kLogFailure, whenThrown.function, "exception");
    }
    if constexpr (!std::is_void_v<std::invoke_result_t<Body>>) {
        return whenThrown.result;
    }
}

/// An entry point that does what a member does.
template <auto kMember, typename... Arguments>
auto CEntry(WhenThrown<decltype(kMember(std::declval<Arguments>()...))> whenThrown,
            Arguments... arguments) noexcept
{
    return CEntry(whenThrown, [&] { return kMember(arguments...); });
}

}  // namespace pelacon
