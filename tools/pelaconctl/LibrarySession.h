// The library as a command uses it.
#pragma once

#include <PelaconSDK/PelaconSDK.h>

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace pelacon::ctl {

class Console;

/// Starts the library; stops it when destroyed.
class LibrarySession {
  public:
    /// Throws Failure when the service is not running or does not answer.
    LibrarySession();
    ~LibrarySession();

    LibrarySession(const LibrarySession&) = delete;
    LibrarySession& operator=(const LibrarySession&) = delete;

    /// Throws Failure when Bluetooth is off.
    void RequireBluetooth() const;

    /// Runs an operation that takes long, and shows that it does. Returns whether Ctrl-C was
    /// pressed, which stops the library to end the operation's wait, and starts it again
    /// afterwards.
    bool RunInterruptibly(const Console& console, const std::string& what,
                          const std::function<void()>& operation) const;
};

/// Results that mean something particular to an operation, and what they mean.
using ResultSentences = std::vector<std::pair<std::int32_t, std::string>>;

/// Throws the Failure for an operation's result, unless it is 0: the sentence for it, or what the
/// result means in its family. `request` says what was requested, to follow "refused to": "switch
/// Bluetooth on".
void CheckResult(PelaconStatusFamily family, std::int32_t result, const std::string& request,
                 const ResultSentences& sentences = {});

/// CheckResult for Bluetooth operations.
inline void Check(BleStatusC status, const std::string& request)
{
    CheckResult(kPelaconStatusBle, status, request);
}

/// Throws the Failure for a missing answer: the service is not running, or did not answer.
[[noreturn]] void FailForNoAnswer(const std::string& request);

}  // namespace pelacon::ctl
