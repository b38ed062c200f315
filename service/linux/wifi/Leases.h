// The addresses that dnsmasq has given to stations.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace pelacon::service::linux_radios::wifi {

/// Reads dnsmasq's file of leases: IPv4 addresses, dotted, by the addresses of the stations. Lines
/// that are no such leases are left out.
std::map<std::uint64_t, std::string> ReadLeases(std::string_view text);

}  // namespace pelacon::service::linux_radios::wifi
