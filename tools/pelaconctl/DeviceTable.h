// The devices found by a scan, as a table.
#pragma once

#include <PelaconSDK/BleScanner.h>
#include <tools/pelaconctl/Console.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace pelacon::ctl {

/// Each device with the latest data of its advertisements and scan responses.
class DeviceTable {
  public:
    using Clock = std::chrono::steady_clock;

    enum class Order { kSignal, kAddress, kName, kCount };

    /// What a result changed.
    enum class Change {
        kNone,       ///< name and data are as before
        kNewDevice,  ///< the device was not in the table
        kNewData,    ///< its name or data differ
    };

    Change Add(const BleScanResultC& result, Clock::time_point when);

    std::size_t Devices() const { return devices_.size(); }
    std::uint64_t Results() const { return results_; }

    /// A heading and a line for each device, cut to the width. If the height is too small for all
    /// devices, the last line says how many are left out.
    std::vector<std::string> Lines(const Console& console, Order order, Clock::time_point now,
                                   std::size_t width, std::size_t height) const;

    /// One device as a line, for outputs that are not terminals.
    std::string Line(std::uint64_t address) const;

  private:
    struct Device {
        std::uint64_t address = 0;
        double rssi = 0;  // smoothed, so that the order of devices is stable
        std::int32_t lastRssi = 0;
        std::string name;
        std::string data;
        std::uint64_t count = 0;
        Clock::time_point lastResult;
    };

    std::vector<const Device*> Sorted(Order order) const;

    std::map<std::uint64_t, Device> devices_;
    std::uint64_t results_ = 0;
};

/// Five columns, from "....." for a very weak signal to "#####" for a strong one.
std::string SignalBar(std::int32_t rssi);

}  // namespace pelacon::ctl
