#include <service/linux/wifi/Admission.h>

#include <algorithm>
#include <map>
#include <set>

namespace pelacon::service::linux_radios::wifi {

namespace {

using Counts = std::map<std::uint32_t, std::uint32_t>;

/// Whether the combination has room for these numbers of interfaces, by their kinds.
bool HasRoom(const Combination& combination, const Counts& counts)
{
    std::uint32_t all = 0;
    for (const auto& count : counts) {
        all += count.second;
        const bool isKnown = std::ranges::any_of(combination.limits, [&](const auto& limit) {
            return std::ranges::count(limit.kinds, count.first) != 0;
        });
        if (!isKnown) {
            return false;
        }
    }
    const auto isKept = [&](const Combination::Limit& limit) {
        std::uint32_t used = 0;
        for (const std::uint16_t kind : limit.kinds) {
            const auto count = counts.find(kind);
            used += count != counts.end() ? count->second : 0;
        }
        return used <= limit.most;
    };
    return all <= combination.most && std::ranges::all_of(combination.limits, isKept);
}

}  // namespace

Admission AdmissionOf(const Card& card, const KernelMirror::Interfaces& others,
                      std::uint32_t frequency)
{
    Counts counts{{static_cast<std::uint32_t>(InterfaceKind::kAccessPoint), 1}};
    std::set<std::uint32_t> frequencies{frequency};
    bool isAlone = true;
    for (const auto& [index, interface] : others) {
        if (interface.card == card.number && interface.frequency != 0) {
            isAlone = false;
            ++counts[interface.kind];
            frequencies.insert(interface.frequency);
        }
    }
    if (isAlone) {
        return Admission::kYes;
    }
    Admission admission = Admission::kNo;
    for (const Combination& combination : card.combinations) {
        if (HasRoom(combination, counts)) {
            if (frequencies.size() <= combination.channels) {
                return Admission::kYes;
            }
            admission = Admission::kOnOtherChannels;
        }
    }
    return admission;
}

}  // namespace pelacon::service::linux_radios::wifi
