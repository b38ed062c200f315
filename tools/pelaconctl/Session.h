// The library as a command uses it.
#pragma once

#include <IPCMessage/IPCControl.h>
#include <PelaconSDK/PelaconSDK.h>
#include <tools/pelaconctl/Failure.h>

#include <chrono>
#include <string>
#include <string_view>

namespace pelacon::ctl {

/// What an operator's connection ended with, as the failure of a command.
Failure FailureOf(const IPCControlError& error);

/// Sends an operator's command to the service and returns its answer. Throws Failure.
std::string SendControl(std::string_view command,
                        std::chrono::milliseconds timeout = std::chrono::seconds(5));

/// The library, started for as long as this lives.
class Session {
  public:
    /// Throws Failure when there is no service, or none that answers.
    Session();
    ~Session();

    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// Throws Failure when Bluetooth is off.
    void RequireBluetooth() const;
};

/// Throws what the result of a Bluetooth operation means, unless it is success. `request` says what
/// was asked for, to follow "the request to": "switch Bluetooth on".
void Check(BleStatusC status, std::string_view request);

/// Throws what a missing answer means: no service any more, or one that did not answer.
[[noreturn]] void FailForNoAnswer(std::string_view request);

}  // namespace pelacon::ctl
