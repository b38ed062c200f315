#include <service/linux/ProcessRights.h>

#include <linux/capability.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cstdint>

namespace pelacon::service::linux_radios {

namespace {

constexpr const char* kServiceAccount = "pelacon";

/// By system calls: the C library's functions act on all threads, which the child of a fork has
/// not.
bool Take(const Account& account)
{
    constexpr int kNoGroups = 0;
    return prctl(PR_SET_KEEPCAPS, 1, 0, 0, 0) == 0 &&
           syscall(SYS_setgroups, kNoGroups, nullptr) == 0 &&
           syscall(SYS_setresgid, account.group, account.group, account.group) == 0 &&
           syscall(SYS_setresuid, account.user, account.user, account.user) == 0;
}

}  // namespace

std::optional<Account> FindServiceAccount()
{
    if (geteuid() != 0) {
        return std::nullopt;
    }
    passwd entry{};
    passwd* found = nullptr;
    std::array<char, 4096> texts{};
    getpwnam_r(kServiceAccount, &entry, texts.data(), texts.size(), &found);
    return found != nullptr ? std::optional(Account{found->pw_uid, found->pw_gid}) : std::nullopt;
}

bool Restrict(const ProcessRights& rights) noexcept
{
    std::array<std::uint32_t, _LINUX_CAPABILITY_U32S_3> wanted{};
    for (const Capability capability : rights.capabilities) {
        const auto number = static_cast<unsigned>(capability);
        wanted.at(number / 32) |= 1U << number % 32;
    }
    // Only with CAP_SETPCAP, as root has it: without, there are no others in the other sets.
    for (unsigned number = 0; prctl(PR_CAPBSET_READ, number, 0, 0, 0) >= 0; ++number) {
        const bool isWanted =
            number / 32 < wanted.size() && (wanted.at(number / 32) >> number % 32 & 1U) != 0;
        if (!isWanted) {
            prctl(PR_CAPBSET_DROP, number, 0, 0, 0);
        }
    }
    if (rights.account && !Take(*rights.account)) {
        return false;
    }
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> sets{};
    if (syscall(SYS_capget, &header, sets.data()) != 0) {
        return false;
    }
    for (std::size_t i = 0; i < sets.size(); ++i) {
        __user_cap_data_struct& set = sets.at(i);
        set.permitted &= wanted.at(i);
        set.effective = set.permitted;
        set.inheritable = set.permitted;
    }
    if (syscall(SYS_capset, &header, sets.data()) != 0) {
        return false;
    }
    prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_CLEAR_ALL, 0, 0, 0);
    for (const Capability capability : rights.capabilities) {
        prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_RAISE, static_cast<int>(capability), 0, 0);
    }
    // What the file of a program would add to them, it adds no more.
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0;
}

}  // namespace pelacon::service::linux_radios
