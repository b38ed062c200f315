// A controller's advertising reports.
#pragma once

#include <service/linux/bluetooth/Address.h>

#include <cstdint>
#include <span>
#include <vector>

namespace pelacon::service::linux_radios::bluetooth {

/// One advertisement or scan response, whether it came in a legacy report or in an extended one.
struct AdvertisingReport {
    static constexpr std::int8_t kUnknownRssi = 127;

    enum class Kind : std::uint8_t { kConnectable, kScannable, kNonConnectable, kScanResponse };

    /// Whether an extended report has all of its data.
    enum class Part : std::uint8_t { kWhole, kMoreToCome, kCutOff };

    Kind kind = Kind::kConnectable;
    bool isDirected = false;
    bool isExtended = false;  ///< it was sent as an extended advertisement
    AddressType addressType = AddressType::kPublic;
    std::uint64_t address = 0;
    std::int8_t rssi = kUnknownRssi;  ///< dBm
    std::uint8_t set = 0;             ///< which of a sender's extended advertisements it is
    Part part = Part::kWhole;
    std::vector<std::uint8_t> data;
};

/// The reports in a packet of a raw HCI socket; none if the packet is of another kind. If it is cut
/// off or wrong, the reports before the error.
std::vector<AdvertisingReport> DecodeAdvertisingReports(std::span<const std::uint8_t> packet);

/// Joins the parts of long extended advertisements.
class ReportAssembler {
  public:
    /// The most data that one advertisement has.
    static constexpr std::size_t kMostData = 1650;
    /// How many unfinished ones are kept; the oldest is dropped.
    static constexpr std::size_t kMostUnfinished = 16;

    /// Adds the parts that came before. True if the report is complete.
    bool Join(AdvertisingReport& report);

  private:
    std::vector<AdvertisingReport> unfinished_;
};

}  // namespace pelacon::service::linux_radios::bluetooth
