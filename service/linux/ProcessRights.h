// What a program that this process starts may do.
#pragma once

#include <service/linux/Capabilities.h>

#include <sys/types.h>

#include <optional>
#include <vector>

namespace pelacon::service::linux_radios {

struct Account {
    uid_t user = 0;
    gid_t group = 0;
};

/// The account of the system's service, if there is one and this process may take it: that is
/// root's.
std::optional<Account> FindServiceAccount();

struct ProcessRights {
    std::vector<Capability> capabilities;  ///< those that this process does not have are left out
    std::optional<Account> account;        ///< this process's own if there is none
};

/// Gives up all other rights, for good: the program that this process becomes cannot get any more
/// of them. False if an account cannot be taken. Calls only functions that are safe between fork
/// and exec.
bool Restrict(const ProcessRights& rights) noexcept;

}  // namespace pelacon::service::linux_radios
