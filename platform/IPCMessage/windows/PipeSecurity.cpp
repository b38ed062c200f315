#include "PipeSecurity.h"

#include <os/Utf8.h>
#include <os/windows/Handle.h>
#include <os/windows/Wide.h>

#include <aclapi.h>
#include <sddl.h>

#include <array>
#include <cstdio>
#include <vector>

namespace pelacon::ipc {

namespace {

using os::OwnedHandle;

constexpr const char* kSystemSid = "S-1-5-18";

std::string TextOf(PSID sid)
{
    LPWSTR text = nullptr;
    if (ConvertSidToStringSidW(sid, &text) == 0) {
        return {};
    }
    const std::unique_ptr<void, LocalMemory> owner(text);
    return os::Utf8(text);
}

std::string UserOfToken(HANDLE process)
{
    HANDLE raw = nullptr;
    if (OpenProcessToken(process, TOKEN_QUERY, &raw) == 0) {
        return {};
    }
    const OwnedHandle token(raw);
    DWORD size = 0;
    GetTokenInformation(token.get(), TokenUser, nullptr, 0, &size);
    std::vector<unsigned char> bytes(size);
    if (size == 0 || GetTokenInformation(token.get(), TokenUser, bytes.data(), size, &size) == 0) {
        return {};
    }
    return TextOf(reinterpret_cast<const TOKEN_USER*>(bytes.data())->User.Sid);
}

std::string FindServiceAccount()
{
    std::array<unsigned char, SECURITY_MAX_SID_SIZE> sid{};
    std::array<wchar_t, 256> domain{};
    auto sidSize = static_cast<DWORD>(sid.size());
    auto domainSize = static_cast<DWORD>(domain.size());
    SID_NAME_USE use{};
    if (LookupAccountNameW(nullptr, os::Wide(PELACON_SERVICE_ACCOUNT).c_str(), sid.data(), &sidSize,
                           domain.data(), &domainSize, &use) == 0) {
        return {};
    }
    return TextOf(sid.data());
}

/// The account that the service was built for; empty where there is no account of that name. The
/// first call may ask a domain's controller, which may take seconds.
const std::string& ServiceAccount()
{
    static const std::string& account = *new std::string(FindServiceAccount());
    return account;
}

}  // namespace

std::string UserOfProcess(DWORD processId)
{
    const OwnedHandle process(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
    return process ? UserOfToken(process.get()) : std::string();
}

std::string OwnerOfPipe(HANDLE pipe)
{
    PSID owner = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    if (GetSecurityInfo(pipe, SE_KERNEL_OBJECT, OWNER_SECURITY_INFORMATION, &owner, nullptr,
                        nullptr, nullptr, &descriptor) != ERROR_SUCCESS) {
        return {};
    }
    const SecurityDescriptor keeper(descriptor);
    return TextOf(owner);
}

const std::string& OwnUser()
{
    static const std::string& user = *new std::string(UserOfToken(GetCurrentProcess()));
    return user;
}

bool IsSystem(const std::string& user)
{
    return user == kSystemSid;
}

bool IsTrustedServer(const std::string& user)
{
    return !user.empty() && (IsSystem(user) || user == OwnUser() || user == ServiceAccount());
}

SecurityDescriptor PipeAccess()
{
    std::string access =
        "O:" + OwnUser() + "D:P(A;;GA;;;SY)(A;;GA;;;BA)(A;;GA;;;" + OwnUser() + ")";
    if (IsSystem(OwnUser())) {
        char rights[16];
        std::snprintf(rights, sizeof rights, "0x%lx", kClientAccess);
        access += std::string("(A;;") + rights + ";;;IU)";
    }
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    ConvertStringSecurityDescriptorToSecurityDescriptorW(os::Wide(access).c_str(), SDDL_REVISION_1,
                                                         &descriptor, nullptr);
    return SecurityDescriptor(descriptor);
}

}  // namespace pelacon::ipc
