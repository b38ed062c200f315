// The addresses that dnsmasq has given to stations.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace pelacon::service::linux_radios::wifi {

struct Lease {
    std::string ipAddress;  ///< dotted
    std::int64_t end = 0;   ///< in seconds since 1970; later when the station has asked again

    bool operator==(const Lease&) const = default;
};

/// By the addresses of the stations.
using Leases = std::map<std::uint64_t, Lease>;

/// Reads dnsmasq's file of leases. Lines that are no leases of IPv4 addresses are left out. Of
/// several leases of one station, the latest counts.
Leases ReadLeases(std::string_view text);

}  // namespace pelacon::service::linux_radios::wifi
