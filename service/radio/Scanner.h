// The radio as it listens to advertisements.
#pragma once

#include <service/radio/Advertisement.h>

#include <functional>
#include <memory>

namespace pelacon::service::radio {

/// How much of what is in the air is heard. The values are those of BleScanPolicy in the public
/// headers.
enum class ScanPolicy : std::int32_t { kLowPower = 0, kBalanced = 1, kLowLatency = 2 };

/// A scan that goes on for as long as this lives.
class Scan {
  public:
    Scan() = default;
    virtual ~Scan() = default;
    Scan(const Scan&) = delete;
    Scan& operator=(const Scan&) = delete;
};

/// One radio's receiver. Several scans may go on at once, each with its own policy. Called under
/// the world's lock, and calls back under it.
class Scanner {
  public:
    using Observer = std::function<void(const Heard&)>;

    Scanner() = default;
    virtual ~Scanner() = default;
    Scanner(const Scanner&) = delete;
    Scanner& operator=(const Scanner&) = delete;

    /// Has the observer told of what is heard from now on. It starts and ends no scan and no
    /// advertising itself. Nothing is heard while the adapter is off.
    virtual std::unique_ptr<Scan> Start(ScanPolicy policy, Observer observer) = 0;
};

}  // namespace pelacon::service::radio
