// Operators' access to a running service.
#pragma once

#include <IPCMessage/TagIPCMessageItem.h>

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

/// Why an operator's connection ended, in a sentence for people.
struct IPCControlError {
    enum class Kind {
        kNoService,
        kNoAccess,  ///< not trusted, or not open to this user
        kRefused,   ///< the service takes no commands from this user
        kTimeout,
        kLost,
    };
    Kind kind;
    std::string message;
};

/// Sends a command to the service on the pipe and waits for its answer. The service answers its own
/// user and root only. On failure returns nothing and fills the error.
std::optional<std::string> IPCSendControl(const std::wstring& pipeName, std::string_view command,
                                          std::chrono::milliseconds timeout,
                                          IPCControlError& error);

/// Follows every notification that the service sends to any of its clients, until the visitor
/// returns false or the service goes away. The visitor is also called, with no item, every
/// `idle` while nothing arrives, so that it can decide to end. Admitted like commands.
/// Returns true when the visitor ended it; otherwise fills the error.
bool IPCWatchNotifications(const std::wstring& pipeName, std::chrono::milliseconds idle,
                           const std::function<bool(const TagIPCMessageItem* item)>& visitor,
                           IPCControlError& error);
