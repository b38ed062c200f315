// Whether the service is there, as the application learns it.
#pragma once

#include <IPCMessage/ServicePresence.h>
#include <PelaconSDK/ServiceState.h>

#include <cstdint>

namespace pelacon {

/// The state behind PelaconGetServiceState, and the sink for its changes. Only the receive thread
/// changes it, and the stop of the library resets it.
class ServiceState {
  public:
    /// The state, and the process that it is the state of: a child that fork made has none.
    using Present = std::uint64_t;

    static Present Get() noexcept;
    static PelaconServiceState Of(Present seen) noexcept;

    /// Makes the change and calls the sink, unless the state is not `before` any more: the library
    /// was stopped meanwhile. No lock may be held.
    static void Change(Present before, PelaconServiceState after) noexcept;

    /// Makes the change that follows from the one of the connection.
    static void Follow(ipc::ServicePresence::Change change) noexcept;

    /// The library is stopped.
    static void Reset() noexcept;

    static void SetSink(void* context, PelaconServiceSink sink);
};

}  // namespace pelacon
