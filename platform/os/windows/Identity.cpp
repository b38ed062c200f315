#include <os/Identity.h>
#include <os/Utf8.h>
#include <os/windows/Wide.h>

#include <windows.h>
// clang-format off: it builds on windows.h
#include <sddl.h>
// clang-format on

#include <array>
#include <memory>

namespace pelacon::os {

namespace {

constexpr DWORD kNameRoom = 257;

struct LocalMemory {
    void operator()(void* memory) const noexcept { LocalFree(memory); }
};

}  // namespace

std::string NameOfUser(const std::string& user)
{
    PSID sid = nullptr;
    if (user.empty() || ConvertStringSidToSidW(Wide(user).c_str(), &sid) == 0) {
        return user.empty() ? "an unknown user" : user;
    }
    const std::unique_ptr<void, LocalMemory> owner(sid);
    std::array<wchar_t, kNameRoom> name{};
    std::array<wchar_t, kNameRoom> domain{};
    DWORD nameSize = kNameRoom;
    DWORD domainSize = kNameRoom;
    SID_NAME_USE use{};
    if (LookupAccountSidW(nullptr, sid, name.data(), &nameSize, domain.data(), &domainSize, &use) ==
        0) {
        return user;
    }
    return Utf8(name.data()) + " (" + user + ")";
}

std::string DescribeOwnUser()
{
    std::array<wchar_t, kNameRoom> name{};
    DWORD size = kNameRoom;
    return GetUserNameW(name.data(), &size) != 0 ? Utf8(name.data()) : "an unknown user";
}

std::string DescribeFile(const std::string& /*path*/)
{
    return {};
}

std::string DescribeSystem()
{
    // GetVersionEx names the release that a program's manifest asks for; the kernel names its own.
    const HMODULE kernel = GetModuleHandleW(L"ntdll.dll");
    using Query = LONG(WINAPI*)(OSVERSIONINFOW*);
    const auto query =
        reinterpret_cast<Query>(reinterpret_cast<void*>(GetProcAddress(kernel, "RtlGetVersion")));
    OSVERSIONINFOW version{};
    version.dwOSVersionInfoSize = sizeof version;
    if (query == nullptr || query(&version) != 0) {
        return "Windows";
    }
    return "Windows " + std::to_string(version.dwMajorVersion) + "." +
           std::to_string(version.dwMinorVersion) + "." + std::to_string(version.dwBuildNumber);
}

}  // namespace pelacon::os
