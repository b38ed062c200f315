// Talking to the service as its operator.
#pragma once

#include <IPCMessage/IPCControl.h>
#include <tools/pelaconctl/Failure.h>

#include <nlohmann/json_fwd.hpp>

#include <chrono>
#include <string_view>

namespace pelacon::ctl {

/// What an operator's connection ended with, as the failure of a command.
Failure FailureOf(const IPCControlError& error);

/// Has the service do something, and returns its answer. Throws Failure, also when the service
/// says that it cannot be done.
nlohmann::ordered_json Control(const nlohmann::ordered_json& command);

/// What a user typed as a command for the service. Throws Failure when it is no JSON object.
nlohmann::ordered_json ParseCommand(std::string_view text);

/// Throws Failure when the service is not there, or does not answer. One that takes no commands
/// from this user is there.
void ProbeService();

}  // namespace pelacon::ctl
