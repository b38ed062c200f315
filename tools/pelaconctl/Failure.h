// How a command fails: with an exit status for scripts, and a sentence for people.
#pragma once

#include <stdexcept>
#include <string>

namespace pelacon::ctl {

/// The program's exit statuses, documented in --help and docs/pelaconctl.md.
enum class ExitStatus {
    kDone = 0,
    kFailed = 1,      ///< the service refused, or something else failed
    kUsage = 2,       ///< the command line is not valid
    kNoService = 3,   ///< PelaconService is not running, or has ended
    kNoAnswer = 4,    ///< the service is running, but an answer or a change is missing
    kAdapterOff = 5,  ///< the radio that the command needs is switched off
    kNotAllowed = 6,  ///< this user may not use the service, or not with this command
    kInterrupted = 130,
};

/// Ends the command. The message is one sentence or two: what is wrong, then what to do about it.
class Failure : public std::runtime_error {
  public:
    Failure(ExitStatus status, const std::string& message)
        : std::runtime_error(message), status_(status)
    {}

    ExitStatus Status() const { return status_; }

  private:
    ExitStatus status_;
};

}  // namespace pelacon::ctl
