// Receiving advertisements.
#pragma once

#include <PelaconSDK/BleScanner.h>
#include <service/base/Interface.h>
#include <service/radio/Advertisement.h>

#include <functional>
#include <memory>

namespace pelacon::service::radio {

/// How large a part of the time the radio receives.
enum class ScanPolicy : std::int32_t {
    kLowPower = kBleScanLowPower,
    kBalanced = kBleScanBalanced,
    kLowLatency = kBleScanLowLatency,
};

/// The scan goes on while this exists.
class Scan : public Interface {};

/// The receiving part of a Bluetooth adapter. There may be several scans at once, each with its own
/// policy.
class Scanner : public Interface {
  public:
    using Observer = std::function<void(const Heard&)>;

    /// Starts a scan. The observer is called with each received advertisement, and must neither
    /// start nor end a scan or advertising. Nothing is received while the adapter is off.
    virtual std::unique_ptr<Scan> Start(ScanPolicy policy, Observer observer) = 0;
};

}  // namespace pelacon::service::radio
