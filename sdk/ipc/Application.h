// The application's code, called on the receive thread.
#pragma once

#include <functional>
#include <utility>

namespace pelacon {

/// Calls a callback of the application. What it throws ends the process right there, as the public
/// headers say: it is never taken for an exception of the library, which a receiver handles.
template <typename Callback, typename... Arguments>
void CallApplication(const Callback& callback, Arguments&&... arguments) noexcept
{
    std::invoke(callback, std::forward<Arguments>(arguments)...);
}

}  // namespace pelacon
