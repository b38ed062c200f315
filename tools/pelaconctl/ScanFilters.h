// The filters of `pelaconctl scan`.
#pragma once

#include <PelaconSDK/BleScanner.h>
#include <protocol/Uuid.h>

#include <optional>
#include <string>
#include <vector>

namespace pelacon::ctl {

/// What --filter asks for: results that match one of the filters.
class ScanFilters {
  public:
    /// Reads "name=Lamp" and the other kinds of filters. Throws Failure.
    explicit ScanFilters(const std::vector<std::string>& texts);

    /// What the service is asked for. It may send more than is wanted: it has no filter for lists
    /// of services.
    const std::vector<BleScanFilter>& ForService() const { return forService_; }

    /// Whether a result that the service sent is wanted.
    bool Match(const BleScanResultC& result) const;

  private:
    void Add(const std::string& text);
    void Add(std::int32_t type, const std::vector<std::uint8_t>& pattern, const std::string& text);

    std::vector<BleScanFilter> forService_;
    std::vector<std::optional<protocol::Uuid>> services_;  // of the filters for a service
};

}  // namespace pelacon::ctl
