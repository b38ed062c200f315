// A diagnostic for requests that failed: which processes are running?
#pragma once

namespace pelacon {

/// Logs the id and name of every process, 1024 at most, on a detached thread. Does nothing from the
/// eleventh time on in the life of the process. Throws std::system_error when the thread cannot be
/// created.
void TraverseProcesses();

/// As TraverseProcesses, but a thread that cannot be created is logged under the caller's name.
void TryTraverseProcesses(const char* function) noexcept;

/// Begins to count anew. For tests: the library does not call it.
void ForgetTraversals() noexcept;

}  // namespace pelacon
