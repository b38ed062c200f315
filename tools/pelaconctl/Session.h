// The library as a command uses it.
#pragma once

#include <PelaconSDK/PelaconSDK.h>

#include <cstdint>
#include <string>

namespace pelacon::ctl {

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

/// Throws what an operation's result means, unless it is 0. `noAnswer` is the result that stands
/// for a missing answer in the operation's family. `request` says what was asked for, to follow
/// "refused to": "switch Bluetooth on".
void CheckResult(std::int32_t result, std::int32_t noAnswer, const std::string& request);

/// The same for Bluetooth.
inline void Check(BleStatusC status, const std::string& request)
{
    CheckResult(status, kBleStatusNoReply, request);
}

/// Throws what a missing answer means: no service any more, or one that did not answer.
[[noreturn]] void FailForNoAnswer(const std::string& request);

}  // namespace pelacon::ctl
