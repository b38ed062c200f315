// How many connections a service accepts, and from which users.
#pragma once

#include <cstddef>

namespace pelacon::ipc {

/// The connections that are open when another one arrives.
struct ConnectionCounts {
    std::size_t all = 0;
    std::size_t ofUser = 0;     ///< of the new connection's user
    std::size_t ofProcess = 0;  ///< of the new connection's process
};

/// What a new connection may be used for.
enum class ConnectionPlace {
    kAnything,
    kCommands,  ///< an operator's commands only
    kNone,      ///< nothing: it is closed
};

/// Neither one program nor one user can take all places: the last ones are kept for users that have
/// few connections, and of these the very last for operators' commands.
struct ConnectionLimits {
    /// Scales the limits down if the system allows the service fewer than 2,048 connections.
    explicit ConnectionLimits(std::size_t possible) noexcept;

    std::size_t all;
    std::size_t perUser;
    std::size_t perProcess;
    std::size_t few;     ///< a user with fewer than this may take the places kept for such users
    std::size_t forFew;  ///< kept for users with few
    std::size_t forCommands;  ///< kept for operators' commands

    ConnectionPlace PlaceFor(const ConnectionCounts& open, bool isOperator) const noexcept;
};

}  // namespace pelacon::ipc
