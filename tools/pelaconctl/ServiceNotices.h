// The service's loss and return, for commands that run until Ctrl-C.
#pragma once

#include <PelaconSDK/ServiceState.h>

#include <functional>
#include <string>

namespace pelacon::ctl {

/// "lost", "restarted" and so on, for programs.
std::string ServiceStateName(PelaconServiceState state);

/// The sentence for people.
std::string ServiceStateSentence(PelaconServiceState state);

/// Calls a function with each loss and return of the service while it lives.
class ServiceNotices {
  public:
    /// `tell` is called on a thread of the library.
    using Tell = std::function<void(PelaconServiceState state)>;

    explicit ServiceNotices(Tell tell);
    ~ServiceNotices();

    ServiceNotices(const ServiceNotices&) = delete;
    ServiceNotices& operator=(const ServiceNotices&) = delete;

    /// Writes the sentence to standard error.
    static void OnStandardError(PelaconServiceState state);

  private:
    Tell tell_;
};

}  // namespace pelacon::ctl
