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

    /// Of an extended report's data: whether all of it is here.
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

/// The reports in a packet of a raw HCI socket: none where it is something else. Of a packet that
/// is cut off or wrong, what stands before the error.
std::vector<AdvertisingReport> DecodeAdvertisingReports(std::span<const std::uint8_t> packet);

/// Joins the parts of long extended advertisements.
class ReportAssembler {
  public:
    /// As much as one advertisement can hold.
    static constexpr std::size_t kMostData = 1650;
    /// As many as are kept unfinished at a time; the oldest is dropped.
    static constexpr std::size_t kMostUnfinished = 16;

    /// True if the report is whole now, with all that came before it.
    bool Join(AdvertisingReport& report);

  private:
    std::vector<AdvertisingReport> unfinished_;
};

}  // namespace pelacon::service::linux_radios::bluetooth
