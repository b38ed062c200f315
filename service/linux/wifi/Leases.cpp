#include <service/linux/HardwareAddress.h>
#include <service/linux/wifi/Leases.h>

#include <arpa/inet.h>

#include <sstream>

namespace pelacon::service::linux_radios::wifi {

std::map<std::uint64_t, std::string> ReadLeases(std::string_view text)
{
    std::map<std::uint64_t, std::string> leases;
    std::istringstream lines{std::string(text)};
    for (std::string line; std::getline(lines, line);) {
        // When it ends, whose it is, what it is, and more.
        std::istringstream fields(line);
        std::string end;
        std::string station;
        std::string ipAddress;
        fields >> end >> station >> ipAddress;
        const auto address = ParseAddress(station);
        in_addr parsed{};
        if (address && inet_pton(AF_INET, ipAddress.c_str(), &parsed) == 1) {
            leases[*address] = ipAddress;
        }
    }
    return leases;
}

}  // namespace pelacon::service::linux_radios::wifi
