// A message bus of a test's own, which takes the place of the system's.
#pragma once

#include <tests/support/ChildProcess.h>
#include <tests/support/TemporaryFolder.h>

#include <nlohmann/json_fwd.hpp>

#include <optional>
#include <string>

namespace pelacon::service::linux_radios::tests {

using test::ChildProcess;

/// A dbus-daemon on which everybody may do everything. Programs that are started while it is there
/// find it as the system's bus.
class PrivateBus {
  public:
    PrivateBus();
    ~PrivateBus();
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    /// All connections to it end.
    void Kill();

  private:
    test::TemporaryFolder folder_;
    std::optional<ChildProcess> daemon_;
};

/// A program that plays a service of the system. It is on the bus when this is constructed.
class StandIn {
  public:
    /// The script's name, in stand_ins/.
    explicit StandIn(const std::string& script);

    /// Has it do something; it is done when this returns. What it answers is returned.
    nlohmann::json Do(const nlohmann::json& command);

    /// It is gone from the bus, all at once.
    void Kill();

  private:
    ChildProcess process_;
};

}  // namespace pelacon::service::linux_radios::tests
