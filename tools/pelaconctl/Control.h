// Commands to the service, as its operator.
#pragma once

#include <IPCMessage/IPCControl.h>
#include <tools/pelaconctl/Failure.h>

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <string_view>

namespace pelacon::ctl {

/// The Failure for an error of an operator's connection.
Failure FailureOf(const IPCControlError& error);

/// Sends a command to the service and returns the answer. Throws Failure, also when the service
/// answers with an error.
nlohmann::ordered_json Control(const nlohmann::ordered_json& command);

/// Reads a command that a user typed: a JSON object, or the name of a command without fields.
/// Throws Failure for anything else.
nlohmann::ordered_json ParseCommand(std::string_view text);

/// Throws Failure when the service is not running, or does not answer. A service that takes no
/// commands from this user counts as running.
void ProbeService();

/// The version of the service. Throws Failure, also when the service is an older one, which tells
/// it to its own user and root only.
std::string ServiceVersion();

}  // namespace pelacon::ctl
