// The list of processes, as far as the library needs to know it.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace pelacon::os {

/// The calling process's id.
std::uint32_t CurrentProcessId();

/// Where the service executable is expected, in the form that VisitProcessPaths uses: the path in
/// the environment variable PELACON_SERVICE_PATH, for tests; otherwise the path that the library
/// was built with. Absolute, and determined by the first call.
const std::string& ServiceInstallPath();

/// Calls the visitor with the id and the full executable path of each process whose path can be
/// read, until the visitor returns false. On Linux links in the path are resolved, and it is the
/// path that the process was started from even if the file was replaced or deleted since. Returns
/// false when no list of processes could be taken at all.
bool VisitProcessPaths(
    const std::function<bool(std::uint32_t processId, const std::string& path)>& visitor);

/// Calls the visitor with the id and the short name of each process; a name that cannot be read is
/// "<unknown>".
void VisitProcessNames(
    const std::function<void(std::uint32_t processId, const std::wstring& name)>& visitor);

}  // namespace pelacon::os
