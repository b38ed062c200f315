// The stand-in for the system's WLAN service.
#pragma once

#include <functional>
#include <optional>

namespace pelacon::test {

/// Decides what the WLAN service answers. What the library asks of it goes to the journal:
///
///     "wlan open"  "wlan list 1"  "wlan scan 0"  "wlan free"      the handle, and the index
class Wlan {
  public:
    /// Becoming a client gives this handle from now on; 0 when it fails.
    static void OpenGives(int handle);
    /// Runs inside each opening, without a lock held.
    static void OnOpen(std::function<void()> hook);
    /// Listing gives so many interfaces from now on; nothing when it fails. It fails for no handle.
    static void ListGives(std::optional<int> interfaces);
    static void Reset();
};

}  // namespace pelacon::test
