// The files of an access point.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace pelacon::service::linux_radios::wifi {

/// A folder for one access point, named after its interface, that only this user can read. It is
/// removed with this; a folder that is there after a start is left from a process that was killed.
class AccessPointFiles {
  public:
    /// Makes the folder. Throws std::system_error.
    AccessPointFiles(const std::filesystem::path& parent, std::string interface);
    ~AccessPointFiles();

    AccessPointFiles(const AccessPointFiles&) = delete;
    AccessPointFiles& operator=(const AccessPointFiles&) = delete;

    /// Writes wpa_supplicant's configuration. Throws std::system_error.
    void WriteConfiguration(const std::string& ssid, const std::string& passPhrase,
                            std::uint32_t frequency) const;

    std::string Configuration() const { return File("network.conf"); }
    std::string ControlSocket() const { return File("control/" + interface_); }
    std::string Leases() const { return File("leases"); }

    /// The addresses that dnsmasq has given, as ReadLeases has them.
    std::map<std::uint64_t, std::string> GivenAddresses() const;

    /// The names of the interfaces whose folders are there.
    static std::vector<std::string> FoldersIn(const std::filesystem::path& parent);

  private:
    std::string File(const std::string& name) const { return folder_.string() + "/" + name; }

    std::string interface_;
    std::filesystem::path folder_;
};

/// The contents of wpa_supplicant's configuration for an access point.
std::string ConfigurationOf(const std::string& ssid, const std::string& passPhrase,
                            std::uint32_t frequency, const std::string& controlFolder);

}  // namespace pelacon::service::linux_radios::wifi
