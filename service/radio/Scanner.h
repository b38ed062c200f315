// Receiving advertisements.
#pragma once

#include <PelaconSDK/BleScanner.h>
#include <service/base/Interface.h>
#include <service/radio/Advertisement.h>
#include <service/radio/Outcome.h>

#include <memory>

namespace pelacon::service::radio {

/// How large a part of the time the radio receives.
enum class ScanPolicy : std::int32_t {
    kLowPower = kBleScanLowPower,
    kBalanced = kBleScanBalanced,
    kLowLatency = kBleScanLowLatency,
};

/// Observes one scan.
class ScanObserver : public Interface {
  public:
    /// The radio receives. Called once, in Scanner::Start or later. Must not destroy the scan, but
    /// may destroy others.
    virtual void Started() = 0;

    /// An advertisement was received. Called after Started. Must neither start nor end a scan or
    /// advertising.
    virtual void Received(const Heard& heard) = 0;

    /// The scan could not be started, or has ended by itself. The last call, always after
    /// Scanner::Start. May destroy the scan.
    virtual void Ended(Outcome why) = 0;
};

/// The scan goes on while this exists, or until it ends by itself. Its destructor ends it without
/// calling the observer.
class Scan : public Interface {};

/// The receiving part of a Bluetooth adapter. There may be several scans at once, each with its own
/// policy.
class Scanner : public Interface {
  public:
    /// Begins a scan as soon as it can. Nothing is received while the adapter is off. The observer
    /// must outlive the scan.
    virtual std::unique_ptr<Scan> Start(ScanPolicy policy, ScanObserver& observer) = 0;
};

}  // namespace pelacon::service::radio
