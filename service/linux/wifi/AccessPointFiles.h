// The files of an access point.
#pragma once

#include <service/linux/ProcessRights.h>
#include <service/linux/wifi/Leases.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace pelacon::service::linux_radios::wifi {

/// A folder for one access point, named after its interface, that only the user of its programs can
/// read. It is removed with this; a folder that is there after a start is left from a process that
/// was killed.
class AccessPointFiles {
  public:
    /// Makes the folder, for this account or for this process's own. Throws std::system_error.
    AccessPointFiles(const std::filesystem::path& parent, std::string interface,
                     const std::optional<Account>& account = {});
    ~AccessPointFiles();

    AccessPointFiles(const AccessPointFiles&) = delete;
    AccessPointFiles& operator=(const AccessPointFiles&) = delete;

    /// Writes wpa_supplicant's configuration. Throws std::system_error.
    void WriteConfiguration(const std::string& ssid, const std::string& passPhrase,
                            std::uint32_t frequency) const;

    std::string Configuration() const { return File("network.conf"); }
    std::string ControlSocket() const { return File("control/" + interface_); }
    std::string LeaseFile() const { return File("leases"); }

    /// The addresses that dnsmasq has given, as ReadLeases has them.
    Leases GivenAddresses() const;

  private:
    std::string File(const std::string& name) const { return folder_.string() + "/" + name; }

    std::string interface_;
    std::filesystem::path folder_;
    std::optional<Account> account_;
};

/// The contents of wpa_supplicant's configuration for an access point.
std::string ConfigurationOf(const std::string& ssid, const std::string& passPhrase,
                            std::uint32_t frequency, const std::string& controlFolder);

}  // namespace pelacon::service::linux_radios::wifi
