#include <service/linux/ByteReader.h>
#include <service/linux/bluetooth/AdvertisingReport.h>

#include <algorithm>
#include <optional>
#include <utility>

namespace pelacon::service::linux_radios::bluetooth {

namespace {

using Kind = AdvertisingReport::Kind;
using Part = AdvertisingReport::Part;

constexpr std::uint8_t kEventPacket = 0x04;
constexpr std::uint8_t kLeMetaEvent = 0x3E;
constexpr std::uint8_t kLegacyReports = 0x02;
constexpr std::uint8_t kExtendedReports = 0x0D;

/// An address type of a report. Anonymous ones have none.
std::optional<AddressType> SenderTypeOf(std::uint8_t type)
{
    switch (type) {
        case 0:
        case 2:  // a public identity behind a resolved address
            return AddressType::kPublic;
        case 1:
        case 3:
            return AddressType::kRandom;
        default:
            return std::nullopt;
    }
}

/// Reads the sender. False if the report names none.
bool TakeSender(ByteReader& reader, AdvertisingReport& report)
{
    const auto type = SenderTypeOf(reader.Take<std::uint8_t>());
    const auto octets = reader.TakeBytes(kAddressOctets);
    if (!type || octets.size() != kAddressOctets) {
        return false;
    }
    report.addressType = *type;
    report.address = AddressOf(octets.first<kAddressOctets>());
    return true;
}

bool SetLegacyKind(AdvertisingReport& report, std::uint8_t type)
{
    constexpr std::uint8_t kDirected = 1;
    constexpr Kind kKinds[] = {Kind::kConnectable, Kind::kConnectable, Kind::kScannable,
                               Kind::kNonConnectable, Kind::kScanResponse};
    if (type >= std::size(kKinds)) {
        return false;
    }
    report.kind = kKinds[type];
    report.isDirected = type == kDirected;
    return true;
}

void SetExtendedKind(AdvertisingReport& report, std::uint16_t type)
{
    constexpr unsigned kConnectable = 0x01;
    constexpr unsigned kScannable = 0x02;
    constexpr unsigned kDirected = 0x04;
    constexpr unsigned kScanResponse = 0x08;
    constexpr unsigned kLegacy = 0x10;
    constexpr unsigned kStatusShift = 5;
    if ((type & kScanResponse) != 0) {
        report.kind = Kind::kScanResponse;
    } else if ((type & kConnectable) != 0) {
        report.kind = Kind::kConnectable;
    } else if ((type & kScannable) != 0) {
        report.kind = Kind::kScannable;
    } else {
        report.kind = Kind::kNonConnectable;
    }
    report.isDirected = (type & kDirected) != 0;
    report.isExtended = (type & kLegacy) == 0;
    switch (type >> kStatusShift & 3U) {
        case 0:
            report.part = Part::kWhole;
            break;
        case 1:
            report.part = Part::kMoreToCome;
            break;
        default:
            report.part = Part::kCutOff;
    }
}

void Assign(std::vector<std::uint8_t>& to, std::span<const std::uint8_t> from)
{
    to.assign(from.begin(), from.end());
}

/// Reads one of the reports in an event. False if it cannot be used.
bool TakeLegacy(ByteReader& reader, AdvertisingReport& report)
{
    const bool isKnown = SetLegacyKind(report, reader.Take<std::uint8_t>());
    const bool hasSender = TakeSender(reader, report);
    Assign(report.data, reader.TakeBytes(reader.Take<std::uint8_t>()));
    report.rssi = static_cast<std::int8_t>(reader.Take<std::uint8_t>());
    return isKnown && hasSender;
}

bool TakeExtended(ByteReader& reader, AdvertisingReport& report)
{
    SetExtendedKind(report, reader.Take<std::uint16_t>());
    const bool hasSender = TakeSender(reader, report);
    reader.TakeBytes(2);  // primary and secondary PHY
    report.set = reader.Take<std::uint8_t>();
    reader.TakeBytes(1);  // power
    report.rssi = static_cast<std::int8_t>(reader.Take<std::uint8_t>());
    reader.TakeBytes(2 + 1 +
                     kAddressOctets);  // periodic interval, and the receiver of a directed one
    Assign(report.data, reader.TakeBytes(reader.Take<std::uint8_t>()));
    return hasSender;
}

}  // namespace

std::vector<AdvertisingReport> DecodeAdvertisingReports(std::span<const std::uint8_t> packet)
{
    std::vector<AdvertisingReport> reports;
    ByteReader outer(packet);
    const bool isMeta =
        outer.Take<std::uint8_t>() == kEventPacket && outer.Take<std::uint8_t>() == kLeMetaEvent;
    const std::uint8_t length = outer.Take<std::uint8_t>();
    ByteReader reader(outer.Rest().first(std::min<std::size_t>(length, outer.Rest().size())));
    const std::uint8_t kind = reader.Take<std::uint8_t>();
    const std::uint8_t count = reader.Take<std::uint8_t>();
    if (!isMeta || (kind != kLegacyReports && kind != kExtendedReports)) {
        return reports;
    }
    for (std::uint8_t i = 0; i < count; ++i) {
        AdvertisingReport report;
        const bool isUsable =
            kind == kLegacyReports ? TakeLegacy(reader, report) : TakeExtended(reader, report);
        if (reader.IsBroken()) {
            break;
        }
        if (isUsable) {
            reports.push_back(std::move(report));
        }
    }
    return reports;
}

bool ReportAssembler::Join(AdvertisingReport& report)
{
    const auto begun = std::find_if(
        unfinished_.begin(), unfinished_.end(), [&](const AdvertisingReport& candidate) {
            return candidate.address == report.address &&
                   candidate.addressType == report.addressType && candidate.set == report.set &&
                   candidate.kind == report.kind && candidate.isExtended == report.isExtended;
        });
    if (begun != unfinished_.end()) {
        std::vector<std::uint8_t> data = std::move(begun->data);
        unfinished_.erase(begun);
        const std::size_t room = kMostData - std::min(kMostData, data.size());
        const auto end =
            report.data.begin() + static_cast<std::ptrdiff_t>(std::min(room, report.data.size()));
        data.insert(data.end(), report.data.begin(), end);
        report.data = std::move(data);
    }
    if (report.part != Part::kMoreToCome) {
        return true;
    }
    if (unfinished_.size() == kMostUnfinished) {
        unfinished_.erase(unfinished_.begin());
    }
    unfinished_.push_back(report);
    return false;
}

}  // namespace pelacon::service::linux_radios::bluetooth
