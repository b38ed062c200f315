// The system's WLAN service: which wireless interfaces there are, and a scan on one of them.
#pragma once

#include <cstddef>
#include <memory>

namespace pelacon::os {

/// A client of the WLAN service; null when there is none. Handles may be used on any thread and are
/// never closed: they end with the process.
using WlanHandle = struct WlanClient*;

/// Becomes a client. Null when there is no such service, or it refuses.
WlanHandle OpenWlan();

/// The wireless interfaces that there were when they were listed, in the system's order.
class WlanInterfaces {
  public:
    virtual ~WlanInterfaces() = default;

    virtual std::size_t Count() const = 0;

    /// Asks for a scan of all networks on the interface with this index. What the system answers is
    /// not looked at.
    virtual void RequestScan(std::size_t index) = 0;
};

/// Lists the interfaces. Null when the service does not answer, or for a null handle.
std::unique_ptr<WlanInterfaces> ListWlanInterfaces(WlanHandle handle);

}  // namespace pelacon::os
