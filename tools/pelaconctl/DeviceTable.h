// Devices that were heard, as a table.
#pragma once

#include <PelaconSDK/BleScanner.h>
#include <tools/pelaconctl/Console.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace pelacon::ctl {

/// What is known of each device: from its advertisements and scan responses, the latest of each.
class DeviceTable {
  public:
    using Clock = std::chrono::steady_clock;

    enum class Order { kSignal, kAddress, kName, kCount };

    /// What became of a result.
    enum class News {
        kNothing,  ///< the device says what it said before
        kDevice,   ///< it was not known
        kData,     ///< its name or data were others, or none
    };

    News Add(const BleScanResultC& result, Clock::time_point when);

    std::size_t Devices() const { return devices_.size(); }
    std::uint64_t Results() const { return results_; }

    /// A heading, and a line for each device, cut to the width. Devices that do not fit into the
    /// height are counted in a last line.
    std::vector<std::string> Lines(const Console& console, Order order, Clock::time_point now,
                                   std::size_t width, std::size_t height) const;

    /// One device on a line of its own, for outputs that are no terminal.
    std::string Line(std::uint64_t address) const;

  private:
    struct Device {
        std::uint64_t address = 0;
        double rssi = 0;  // smoothed, so that the order of devices keeps still
        std::int32_t lastRssi = 0;
        std::string name;
        std::string data;
        std::uint64_t count = 0;
        Clock::time_point heard;
    };

    std::vector<const Device*> Sorted(Order order) const;

    std::map<std::uint64_t, Device> devices_;
    std::uint64_t results_ = 0;
};

/// Five columns: "####." for a strong signal, "....." for one that is hardly heard.
std::string SignalBar(std::int32_t rssi);

}  // namespace pelacon::ctl
