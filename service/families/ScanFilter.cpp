#include <service/core/Wire.h>
#include <service/families/ScanFilter.h>

#include <algorithm>
#include <array>

namespace pelacon::service {

namespace {

constexpr std::size_t kAddressSize = 6;

bool BeginsWith(ByteView bytes, ByteView pattern)
{
    return bytes.size() >= pattern.size() &&
           std::equal(pattern.begin(), pattern.end(), bytes.begin());
}

/// Whether the data contain a complete structure of the type that begins with the pattern.
bool HoldsStructure(ByteView data, std::int32_t type, ByteView pattern)
{
    while (data.size() >= 2) {
        const std::size_t length = data[0];  // of the type byte and what follows it
        if (length >= 1 && data.size() > length && data[1] == type &&
            BeginsWith(data.subspan(2, length - 1), pattern)) {
            return true;
        }
        data = data.subspan(std::min(length + 1, data.size()));
    }
    return false;
}

std::array<std::uint8_t, kAddressSize> Octets(std::uint64_t address)
{
    std::array<std::uint8_t, kAddressSize> octets{};
    for (auto octet = octets.rbegin(); octet != octets.rend(); ++octet, address >>= 8U) {
        *octet = static_cast<std::uint8_t>(address);
    }
    return octets;
}

bool MakesSense(const protocol::ScanFilter& filter)
{
    return filter.type >= kBleScanFilterAnywhere && filter.type <= kBleScanFilterAddress &&
           filter.patternLength <= sizeof filter.patternData &&
           (filter.type != kBleScanFilterAddress || filter.patternLength <= kAddressSize);
}

}  // namespace

std::optional<ScanFilters> ScanFilters::From(const protocol::SetScanFilterRequest& request)
{
    if (request.filterSize < 0 ||
        request.filterSize > static_cast<std::int32_t>(protocol::kMostScanFilters)) {
        return std::nullopt;
    }
    ScanFilters filters;
    for (std::int32_t i = 0; i < request.filterSize; ++i) {
        const protocol::ScanFilter& filter = request.filters[i];
        if (!MakesSense(filter)) {
            return std::nullopt;
        }
        filters.filters_.push_back(
            {filter.type, {filter.patternData, filter.patternData + filter.patternLength}});
    }
    return filters;
}

bool ScanFilters::Pass(const radio::Heard& heard) const
{
    return filters_.empty() ||
           std::any_of(filters_.begin(), filters_.end(),
                       [&](const Filter& filter) { return Matches(filter, heard); });
}

bool ScanFilters::Matches(const Filter& filter, const radio::Heard& heard)
{
    switch (filter.type) {
        case kBleScanFilterAddress:
            return BeginsWith(Octets(heard.address), filter.pattern);
        case kBleScanFilterAnywhere:
            return std::search(heard.data.begin(), heard.data.end(), filter.pattern.begin(),
                               filter.pattern.end()) != heard.data.end() ||
                   filter.pattern.empty();
        default:
            return HoldsStructure(heard.data, filter.type, filter.pattern);
    }
}

}  // namespace pelacon::service
