// Who runs a process, and who may open a pipe.
#pragma once

#include <windows.h>

#include <memory>
#include <string>

namespace pelacon::ipc {

/// The user of a process as a SID's text; empty where it cannot be told.
std::string UserOfProcess(DWORD processId);

/// The account that an opened pipe belongs to, which can be none but that of the process that
/// offers it. Empty where it cannot be told.
std::string OwnerOfPipe(HANDLE pipe);

/// The user of this process.
const std::string& OwnUser();

/// Whether this user is the system itself.
bool IsSystem(const std::string& user);

/// Whether a process of this user may be the service of this process: the system, the account that
/// the service was built for, or this user's own.
bool IsTrustedServer(const std::string& user);

struct LocalMemory {
    void operator()(void* memory) const noexcept { LocalFree(memory); }
};
using SecurityDescriptor = std::unique_ptr<void, LocalMemory>;

/// The pipe of a service that this process runs belongs to its user. The system, administrators and
/// this user may open it; where the service runs as the system, whoever is logged on may use it
/// too, but not offer a pipe of the same name. Null for want of memory.
SecurityDescriptor PipeAccess();

/// What a client asks for when it opens a pipe: all but offering one.
inline constexpr DWORD kClientAccess =
    FILE_GENERIC_READ | FILE_WRITE_DATA | FILE_WRITE_ATTRIBUTES | SYNCHRONIZE;

}  // namespace pelacon::ipc
