#include <protocol/AdStructure.h>
#include <protocol/BleScanner.h>
#include <tools/pelaconctl/AdvertisedData.h>
#include <tools/pelaconctl/Failure.h>
#include <tools/pelaconctl/GattText.h>
#include <tools/pelaconctl/ScanFilters.h>
#include <tools/pelaconctl/Text.h>

#include <algorithm>
#include <span>

namespace pelacon::ctl {

namespace {

using Pattern = std::vector<std::uint8_t>;
using PatternView = std::span<const std::uint8_t>;

PatternView DataOf(const BleScanResultC& result)
{
    return {result.data, std::min<std::size_t>(result.dataLen, sizeof result.data)};
}

bool BeginsWith(PatternView bytes, PatternView pattern)
{
    return bytes.size() >= pattern.size() &&
           std::equal(pattern.begin(), pattern.end(), bytes.begin());
}

Pattern AddressBytes(std::uint64_t address)
{
    Pattern bytes;
    for (unsigned shift = 48; shift > 0;) {
        shift -= 8;
        bytes.push_back(static_cast<std::uint8_t>(address >> shift));
    }
    return bytes;
}

/// Whether the service's own rule for this filter holds (BleScanner.h).
bool Matches(const BleScanFilter& filter, const BleScanResultC& result)
{
    const PatternView pattern(filter.patternData, filter.patternLength);
    const PatternView data = DataOf(result);
    if (filter.type == kBleScanFilterAddress) {
        return BeginsWith(AddressBytes(result.address), pattern);
    }
    if (filter.type == kBleScanFilterAnywhere) {
        return pattern.empty() ||
               std::search(data.begin(), data.end(), pattern.begin(), pattern.end()) != data.end();
    }
    bool matches = false;
    protocol::VisitAdStructures(data, [&](std::uint8_t type, PatternView structure) {
        matches = matches || (type == filter.type && BeginsWith(structure, pattern));
    });
    return matches;
}

}  // namespace

ScanFilters::ScanFilters(const std::vector<std::string>& texts)
{
    if (texts.size() > protocol::kMostScanFilters) {
        throw Failure(ExitStatus::kUsage, "At most five filters are allowed.");
    }
    for (const std::string& text : texts) {
        Add(text);
    }
}

void ScanFilters::Add(const std::string& text)
{
    const std::size_t equals = text.find('=');
    const std::string kind = text.substr(0, equals);
    const std::string value = equals != std::string::npos ? text.substr(equals + 1) : "";
    if (equals == std::string::npos) {
        // falls through to the failure
    } else if (kind == "name") {
        return Add(protocol::kAdName, Pattern(value.begin(), value.end()), text);
    } else if (kind == "address") {
        return Add(kBleScanFilterAddress, ParseHex(value), text);
    } else if (kind == "service") {
        const protocol::Uuid service = ParseUuidText(value);
        Add(kBleScanFilterAnywhere, AdvertisedBytes(service), text);
        services_.back() = service;
        return;
    } else if (kind == "manufacturer") {
        Pattern company;
        AppendUuid16(company, ParseUuid16(value));
        return Add(protocol::kAdManufacturer, company, text);
    } else if (kind == "hex") {
        return Add(kBleScanFilterAnywhere, ParseHex(value), text);
    }
    throw Failure(ExitStatus::kUsage,
                  "\"" + text +
                      "\" is not a filter. Filters are name=TEXT, address=HEX, service=UUID, "
                      "manufacturer=ID and hex=BYTES.");
}

void ScanFilters::Add(std::int32_t type, const Pattern& pattern, const std::string& text)
{
    BleScanFilter filter{};
    if (pattern.size() > sizeof filter.patternData) {
        throw Failure(ExitStatus::kUsage,
                      "The filter \"" + text + "\" is too long: a pattern has at most 32 bytes.");
    }
    filter.type = type;
    filter.patternLength = static_cast<std::uint32_t>(pattern.size());
    std::ranges::copy(pattern, filter.patternData);
    forService_.push_back(filter);
    services_.emplace_back();
}

bool ScanFilters::Match(const BleScanResultC& result) const
{
    if (forService_.empty()) {
        return true;
    }
    const AdvertisedData data = ReadAdvertisedData(DataOf(result));
    for (std::size_t i = 0; i < forService_.size(); ++i) {
        const std::optional<protocol::Uuid>& service = services_[i];
        if (service ? HasService(data, *service) : Matches(forService_[i], result)) {
            return true;
        }
    }
    return false;
}

}  // namespace pelacon::ctl
