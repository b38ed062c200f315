// How a command fails: an exit status for scripts, a sentence for people.
#pragma once

#include <stdexcept>
#include <string>

namespace pelacon::ctl {

/// What the program ends with; documented in --help and docs/pelaconctl.md.
enum class ExitStatus {
    kDone = 0,
    kFailed = 1,      ///< the service answered, and the answer was no
    kUsage = 2,       ///< the command line cannot be understood
    kNoService = 3,   ///< PelaconService is not running, or went away
    kNoAnswer = 4,    ///< it is running, but the answer or the change did not come
    kAdapterOff = 5,  ///< the radio that the command needs is switched off
    kNotAllowed = 6,  ///< the service does not take this from this user
    kInterrupted = 130,
};

/// Ends the command. The message is one plain sentence or two: what is wrong, then what helps.
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
