// Threads that are never joined.
#pragma once

#include <functional>

namespace pelacon::os {

/// Runs the body on a new thread that is detached from the moment it exists. An exception that
/// leaves the body ends the process, as it does for std::thread.
/// Throws std::system_error when no thread can be created; the body then never runs.
void StartDetachedThread(std::function<void()> body);

}  // namespace pelacon::os
