// How many files, sockets included, a program may have open.
#pragma once

namespace pelacon::os {

/// Lets this process open as many files as an ordinary user can have it open. Nothing on Windows,
/// where there is no such limit.
void RaiseFileLimit() noexcept;

}  // namespace pelacon::os
