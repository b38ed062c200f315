// The stand-in for the system's WLAN service.
#pragma once

#include <functional>
#include <optional>

namespace pelacon::test {

/// Decides the answers of the WLAN service. The library's calls go to the journal:
///
///     "wlan open"  "wlan list 1"  "wlan scan 0"  "wlan free"      the handle, and the index
class Wlan {
  public:
    /// From now on OpenWlan returns this handle; 0 means that it fails.
    static void OpenGives(int handle);
    /// Runs inside each opening, without a lock held.
    static void OnOpen(std::function<void()> hook);
    /// From now on there are this many interfaces; without a value, listing fails. It always fails
    /// for a null handle.
    static void ListGives(std::optional<int> interfaces);
    static void Reset();
};

}  // namespace pelacon::test
