// Operators' access to a running service.
#pragma once

#include <IPCMessage/TagIPCMessageItem.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Why an operator's connection failed, with a sentence for people.
struct IPCControlError {
    enum class Kind {
        kNoService,
        kNoAccess,  ///< the service is not trusted, or this user may not connect to it
        kRefused,   ///< the service accepts no commands from this user
        kTimeout,
        kLost,
    };
    Kind kind;
    std::string message;
};

/// Sends a command to the service on the pipe and waits for its answer. The service accepts
/// commands from its own user and root only. On failure returns nothing and fills the error.
std::optional<std::string> IPCSendControl(const std::wstring& pipeName, std::string_view command,
                                          std::chrono::milliseconds timeout,
                                          IPCControlError& error);

/// A place where programs look for a service, as this user finds it.
struct IPCPlace {
    enum class State {
        kServed,      ///< a service listens, and answers
        kNoService,   ///< nothing listens
        kSilent,      ///< a process listens, but does not answer in time
        kTurnedAway,  ///< a service listens, but closes the connection
        kUntrusted,   ///< the process that listens runs as a user that this process does not trust
        kForbidden,   ///< this user may not connect
    };
    std::string path;
    State state = State::kNoService;
    std::string reason;           ///< what the system said, if it refused
    std::uint32_t processId = 0;  ///< the process that listens; 0 if unknown
    std::string user;             ///< its user; empty if unknown
};

/// Tries each place, in the order in which programs do: connects, and sends the command `ping`.
std::vector<IPCPlace> IPCExaminePlaces(const std::wstring& pipeName,
                                       std::chrono::milliseconds patience);

/// Calls the visitor with every notification that the service sends to any of its clients, until
/// the visitor returns false or the connection is lost. While there is none, the visitor is called
/// with null every `idle`, so that it can end the call. The same users may watch as may send
/// commands. Returns true if the visitor returned false; otherwise fills the error.
bool IPCWatchNotifications(const std::wstring& pipeName, std::chrono::milliseconds idle,
                           const std::function<bool(const TagIPCMessageItem* item)>& visitor,
                           IPCControlError& error);
