// Which user runs a process or offers a pipe, and which users may open it.
#pragma once

#include <windows.h>

#include <memory>
#include <string>

namespace pelacon::ipc {

/// The user of a process as a SID's text; empty where the process cannot be opened.
std::string UserOfProcess(DWORD processId);

/// The owner of an opened pipe. Without a privilege for it a process cannot offer a pipe that
/// belongs to another user. Empty where the owner cannot be read.
std::string OwnerOfPipe(HANDLE pipe);

/// The user of this process.
const std::string& OwnUser();

/// Whether this user is the system itself.
bool IsSystem(const std::string& user);

/// Whether this process trusts a service that this user runs: the system, the service account of
/// the build, or the user of this process.
bool IsTrustedServer(const std::string& user);

struct LocalMemory {
    void operator()(void* memory) const noexcept { LocalFree(memory); }
};
using SecurityDescriptor = std::unique_ptr<void, LocalMemory>;

/// The access list of a service's pipe, which belongs to the user of this process. The system,
/// administrators and this user may open the pipe; where the service runs as the system, every
/// logged-on user may use it too, but not offer a pipe of the same name. Null without memory.
SecurityDescriptor PipeAccess();

/// The rights that a client asks for when it opens a pipe: all but offering an instance of it.
inline constexpr DWORD kClientAccess = FILE_GENERIC_READ | FILE_WRITE_DATA | FILE_WRITE_ATTRIBUTES;

}  // namespace pelacon::ipc
