#include <tools/pelaconctl/AdvertisedData.h>
#include <tools/pelaconctl/DeviceTable.h>
#include <tools/pelaconctl/Text.h>

#include <algorithm>
#include <cmath>
#include <span>

namespace pelacon::ctl {

namespace {

constexpr std::size_t kAddressColumns = 17;
constexpr std::size_t kSignalColumns = 14;  // "####.  -58 dBm"
constexpr std::size_t kCountColumns = 6;
constexpr std::size_t kAgeColumns = 6;
constexpr std::size_t kLeastName = 8;
constexpr std::size_t kMostName = 24;
constexpr char kGap[] = "  ";

/// A device that sent nothing for this long is dimmed.
constexpr auto kLongAgo = std::chrono::seconds(5);

std::string PadLeft(const std::string& text, std::size_t columns)
{
    return std::string(columns > text.size() ? columns - text.size() : 0, ' ') + text;
}

std::string SignalText(std::int32_t rssi)
{
    return SignalBar(rssi) + PadLeft(std::to_string(rssi), 5) + " dBm";
}

std::string AgeText(DeviceTable::Clock::duration age)
{
    const auto tenths = std::chrono::floor<std::chrono::milliseconds>(age).count() / 100;
    if (tenths < 100) {
        return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " s";
    }
    const auto seconds = tenths / 10;
    return seconds < 100 ? std::to_string(seconds) + " s" : std::to_string(seconds / 60) + " min";
}

Console::Style SignalStyle(double rssi)
{
    if (rssi >= -65) {
        return Console::Style::kGood;
    }
    return rssi >= -80 ? Console::Style::kWarning : Console::Style::kBad;
}

/// The cells of one line of the table.
struct Row {
    std::string address;
    std::string signal;
    std::string name;
    std::string data;
    std::string count;
    std::string age;
};

/// The row in this many columns: name and data share the columns that the other cells leave.
std::string Text(const Row& row, std::size_t width)
{
    constexpr std::size_t kGaps = 5 * (sizeof kGap - 1);
    constexpr std::size_t kFixed =
        kAddressColumns + kSignalColumns + kCountColumns + kAgeColumns + kGaps;
    const std::size_t rest = width > kFixed ? width - kFixed : 0;
    const std::size_t name = std::clamp(rest / 2, kLeastName, kMostName);
    const std::size_t data = rest > name ? rest - name : 0;
    const std::string text = Fit(row.address, kAddressColumns) + kGap +
                             Fit(row.signal, kSignalColumns) + kGap + Fit(row.name, name) + kGap +
                             Fit(row.data, data) + kGap + PadLeft(row.count, kCountColumns) + kGap +
                             PadLeft(row.age, kAgeColumns);
    return Fit(text, width);
}

/// The line with its signal coloured.
std::string WithColour(const std::string& text, double rssi, const Console& console)
{
    constexpr std::size_t kBegin = kAddressColumns + sizeof kGap - 1;
    if (text.size() < kBegin + kSignalColumns) {
        return text;
    }
    return text.substr(0, kBegin) +
           console.Styled(SignalStyle(rssi), text.substr(kBegin, kSignalColumns)) +
           text.substr(kBegin + kSignalColumns);
}

}  // namespace

std::string SignalBar(std::int32_t rssi)
{
    constexpr std::int32_t kColumns = 5;
    const std::int32_t full = std::clamp((rssi + 105) / 13, 0, kColumns);
    return std::string(static_cast<std::size_t>(full), '#') +
           std::string(static_cast<std::size_t>(kColumns - full), '.');
}

DeviceTable::Change DeviceTable::Add(const BleScanResultC& result, Clock::time_point when)
{
    constexpr double kWeight = 0.2;
    const std::span<const std::uint8_t> bytes(
        result.data, std::min<std::size_t>(result.dataLen, sizeof result.data));
    const AdvertisedData advertised = ReadAdvertisedData(bytes);
    const std::string data = DataText(advertised);

    const auto [entry, isNew] = devices_.try_emplace(result.address);
    Device& device = entry->second;
    device.address = result.address;
    device.rssi = isNew ? result.rssi : device.rssi + kWeight * (result.rssi - device.rssi);
    device.lastRssi = result.rssi;
    device.lastResult = when;
    ++device.count;
    ++results_;

    bool changed = false;
    if (advertised.name && *advertised.name != device.name) {
        device.name = *advertised.name;
        changed = true;
    }
    // A scan response without data does not replace the data of the advertisement.
    if (data != device.data && (!data.empty() || result.eventType != kBleScanResponse)) {
        device.data = data;
        changed = true;
    }
    return isNew ? Change::kNewDevice : changed ? Change::kNewData : Change::kNone;
}

std::vector<const DeviceTable::Device*> DeviceTable::Sorted(Order order) const
{
    std::vector<const Device*> devices;
    for (const auto& [address, device] : devices_) {
        devices.push_back(&device);
    }
    // The map's order is by address, which the stable sort keeps among equals.
    std::stable_sort(devices.begin(), devices.end(), [order](const Device* a, const Device* b) {
        switch (order) {
            case Order::kSignal:
                return std::lround(a->rssi) > std::lround(b->rssi);
            case Order::kName:
                return a->name.empty() != b->name.empty() ? b->name.empty() : a->name < b->name;
            case Order::kCount:
                return a->count > b->count;
            case Order::kAddress:
                break;
        }
        return false;
    });
    return devices;
}

std::vector<std::string> DeviceTable::Lines(const Console& console, Order order,
                                            Clock::time_point now, std::size_t width,
                                            std::size_t height) const
{
    const Row heading{"ADDRESS", "SIGNAL", "NAME", "DATA", "COUNT", "AGE"};
    std::vector<std::string> lines{console.Styled(Console::Style::kBold, Text(heading, width))};
    const std::vector<const Device*> devices = Sorted(order);
    const std::size_t room = std::max<std::size_t>(height, 2) - 1;
    const std::size_t shown = devices.size() <= room ? devices.size() : room - 1;
    for (const Device* device : std::span(devices).first(shown)) {
        const auto age = now - device->lastResult;
        const std::string text = Text(
            {protocol::AddressText(device->address),
             SignalText(static_cast<std::int32_t>(std::lround(device->rssi))),
             Printable(device->name), device->data, std::to_string(device->count), AgeText(age)},
            width);
        lines.push_back(age > kLongAgo ? console.Styled(Console::Style::kDim, text)
                                       : WithColour(text, device->rssi, console));
    }
    if (shown < devices.size()) {
        lines.push_back(Fit("... and " + std::to_string(devices.size() - shown) + " more", width));
    }
    return lines;
}

std::string DeviceTable::Line(std::uint64_t address) const
{
    const Device& device = devices_.at(address);
    std::string text = protocol::AddressText(address) + kGap +
                       PadLeft(std::to_string(device.lastRssi), 4) + " dBm";
    for (const std::string& part : {Printable(device.name), device.data}) {
        text += part.empty() ? "" : kGap + part;
    }
    return text;
}

}  // namespace pelacon::ctl
