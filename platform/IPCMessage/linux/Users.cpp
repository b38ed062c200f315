#include "Users.h"

#include <pwd.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <fstream>
#include <limits>

namespace pelacon::ipc {

uid_t ServiceAccount()
{
    // Not initialised by the first thread that asks while others wait for it: after a fork a child
    // would wait for a thread of its parent.
    static constinit std::atomic<std::uint64_t> known{0};  // the account + 1
    if (const std::uint64_t account = known) {
        return static_cast<uid_t>(account - 1);
    }
    passwd entry{};
    passwd* found = nullptr;
    std::array<char, 4096> texts{};
    getpwnam_r(PELACON_SERVICE_ACCOUNT, &entry, texts.data(), texts.size(), &found);
    const uid_t account = found != nullptr ? found->pw_uid : kNoUser;
    known = std::uint64_t{account} + 1;
    return account;
}

bool IsOneUser(uid_t user)
{
    constexpr uid_t kStandIn = 65534;
    if (user != kStandIn) {
        return user != kNoUser;
    }
    // A namespace that has all users has them as one range.
    std::uint32_t first = 1;
    std::uint32_t outside = 0;
    std::uint32_t count = 0;
    std::ifstream("/proc/self/uid_map") >> first >> outside >> count;
    return first == 0 && count == std::numeric_limits<std::uint32_t>::max();
}

bool IsTrusted(uid_t user)
{
    return IsOneUser(user) && (user == 0 || user == geteuid() || user == ServiceAccount());
}

}  // namespace pelacon::ipc
