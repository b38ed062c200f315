// The users whom the channel tells apart and trusts.
#pragma once

#include <sys/types.h>

namespace pelacon::ipc {

inline constexpr auto kNoUser = static_cast<uid_t>(-1);

/// The account of the system's service, or kNoUser if there is none.
uid_t ServiceAccount();

/// Whether this id stands for one user. In a user namespace, such as a container's, the kernel uses
/// one id for all users who have none there.
bool IsOneUser(uid_t user);

/// Whether files and services of this user are as good as this process's own.
bool IsTrusted(uid_t user);

}  // namespace pelacon::ipc
