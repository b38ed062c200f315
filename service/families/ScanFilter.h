// The filters of a listener.
#pragma once

#include <protocol/BleScanner.h>
#include <service/radio/Advertisement.h>

#include <optional>
#include <vector>

namespace pelacon::service {

/// Conditions of which one must hold; without any, everything passes.
class ScanFilters {
  public:
    ScanFilters() = default;

    /// The filters of a request; nothing if one of them, or their number, is invalid.
    static std::optional<ScanFilters> From(const protocol::SetScanFilterRequest& request);

    bool Pass(const radio::Heard& heard) const;

  private:
    struct Filter {
        std::int32_t type;
        std::vector<std::uint8_t> pattern;
    };

    static bool Matches(const Filter& filter, const radio::Heard& heard);

    std::vector<Filter> filters_;
};

}  // namespace pelacon::service
