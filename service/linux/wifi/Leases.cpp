#include <service/linux/HardwareAddress.h>
#include <service/linux/wifi/Leases.h>

#include <arpa/inet.h>

#include <sstream>

namespace pelacon::service::linux_radios::wifi {

Leases ReadLeases(std::string_view text)
{
    Leases leases;
    std::istringstream lines{std::string(text)};
    for (std::string line; std::getline(lines, line);) {
        // When it ends, whose it is, what it is, and more.
        std::istringstream fields(line);
        Lease lease;
        std::string station;
        fields >> lease.end >> station >> lease.ipAddress;
        const auto address = ParseAddress(station);
        in_addr parsed{};
        if (address && inet_pton(AF_INET, lease.ipAddress.c_str(), &parsed) == 1) {
            Lease& latest = leases.try_emplace(*address, lease).first->second;
            latest = latest.end < lease.end ? lease : latest;
        }
    }
    return leases;
}

}  // namespace pelacon::service::linux_radios::wifi
