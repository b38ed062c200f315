#include <os/Environment.h>
#include <os/Processes.h>
#include <os/Utf8.h>
#include <os/windows/Handle.h>
#include <os/windows/Wide.h>

#include <windows.h>
// clang-format off: these build on windows.h
#include <psapi.h>
#include <tlhelp32.h>
// clang-format on

namespace pelacon::os {

namespace {

/// The executable's path; empty when the process may not be opened.
std::string ExecutablePath(DWORD processId)
{
    constexpr DWORD kAllAccess = 0x1FFFFF;
    constexpr DWORD kPathSize = 512;
    const OwnedHandle process(OpenProcess(kAllAccess, FALSE, processId));
    if (!process) {
        return {};
    }
    wchar_t path[kPathSize] = {};
    // The last character stays zero: the call does not terminate a path that fills its room.
    K32GetModuleFileNameExW(process.get(), nullptr, path, kPathSize - 1);
    return Utf8(path);
}

/// As the system names the executables of processes: absolute, with backslashes.
std::string AbsolutePath(const std::string& path)
{
    const std::wstring wide = Wide(path);
    std::wstring absolute(GetFullPathNameW(wide.c_str(), 0, nullptr, nullptr), L'\0');
    absolute.resize(GetFullPathNameW(wide.c_str(), static_cast<DWORD>(absolute.size()),
                                     absolute.data(), nullptr));
    return Utf8(absolute);
}

std::wstring ShortName(DWORD processId)
{
    constexpr DWORD kNameSize = 260;
    wchar_t name[kNameSize] = L"<unknown>";
    const OwnedHandle process(
        OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, processId));
    if (process) {
        HMODULE module = nullptr;
        DWORD needed = 0;
        constexpr DWORD kOneModule = sizeof(HMODULE);  // NOLINT(bugprone-sizeof-expression)
        if (K32EnumProcessModules(process.get(), &module, kOneModule, &needed) != 0) {
            K32GetModuleBaseNameW(process.get(), module, name, kNameSize);
        }
    }
    return name;
}

}  // namespace

std::uint32_t CurrentProcessId()
{
    return GetCurrentProcessId();
}

const std::string& ServiceInstallPath()
{
    static const std::string& path = *new std::string([] {
        const auto chosen = EnvironmentVariable("PELACON_SERVICE_PATH");
        return chosen && !chosen->empty() ? AbsolutePath(*chosen) : PELACON_SERVICE_PATH;
    }());
    return path;
}

bool VisitProcessPaths(
    const std::function<bool(std::uint32_t processId, const std::string& path)>& visitor)
{
    const OwnedHandle snapshot = MakeHandle(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    if (!snapshot) {
        return false;
    }
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = Process32FirstW(snapshot.get(), &entry); more != FALSE;
         more = Process32NextW(snapshot.get(), &entry)) {
        const std::string path = ExecutablePath(entry.th32ProcessID);
        if (!path.empty() && !visitor(entry.th32ProcessID, path)) {
            break;
        }
    }
    return true;
}

void VisitProcessNames(
    const std::function<void(std::uint32_t processId, const std::wstring& name)>& visitor)
{
    constexpr DWORD kMostProcesses = 1024;
    DWORD ids[kMostProcesses] = {};
    DWORD bytes = 0;
    if (K32EnumProcesses(ids, sizeof ids, &bytes) == 0) {
        return;
    }
    for (DWORD index = 0; index < bytes / sizeof(DWORD); ++index) {
        if (ids[index] != 0) {
            visitor(ids[index], ShortName(ids[index]));
        }
    }
}

}  // namespace pelacon::os
