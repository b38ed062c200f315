// How many connections a service takes, and from whom.
#pragma once

#include <cstddef>

namespace pelacon::ipc {

/// The connections that are open when another one comes.
struct ConnectionCounts {
    std::size_t all = 0;
    std::size_t ofUser = 0;     ///< of the user that it comes from
    std::size_t ofProcess = 0;  ///< of the process that it comes from
};

/// What a connection that comes may be used for.
enum class ConnectionPlace {
    kAnything,
    kCommands,  ///< an operator's commands only
    kNone,      ///< it is to be closed
};

/// Neither one program nor one user can take all places: the last ones are kept for users that have
/// few, and the very last for operators' commands.
struct ConnectionLimits {
    /// Scales the limits down where the system lets the service have fewer than 2,048.
    explicit ConnectionLimits(std::size_t possible) noexcept;

    std::size_t all;
    std::size_t perUser;
    std::size_t perProcess;
    std::size_t few;          ///< a user with fewer than these finds the places kept for such
    std::size_t forFew;       ///< kept for users with few
    std::size_t forCommands;  ///< kept for operators' commands

    ConnectionPlace PlaceFor(const ConnectionCounts& open, bool isOperator) const noexcept;
};

}  // namespace pelacon::ipc
