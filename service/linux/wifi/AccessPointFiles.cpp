#include <protocol/Hex.h>
#include <service/linux/FileDescriptor.h>
#include <service/linux/wifi/AccessPointFiles.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <iterator>
#include <system_error>
#include <utility>

namespace pelacon::service::linux_radios::wifi {

namespace {

[[noreturn]] void Throw(const std::string& file)
{
    throw std::system_error(errno, std::generic_category(), file);
}

/// For its user only.
bool MakeFolder(const std::filesystem::path& folder)
{
    return mkdir(folder.c_str(), S_IRWXU) == 0;
}

bool GiveTo(const std::optional<Account>& account, const std::filesystem::path& file)
{
    return !account || lchown(file.c_str(), account->user, account->group) == 0;
}

}  // namespace

std::string ConfigurationOf(const std::string& ssid, const std::string& passPhrase,
                            std::uint32_t frequency, const std::string& controlFolder)
{
    std::string name;  // in hexadecimal digits, so that it may have any octets
    for (const char letter : ssid) {
        name += protocol::HexNumber(static_cast<unsigned char>(letter), 2);
    }
    return "ctrl_interface=" + controlFolder +
           "\n"
           "p2p_disabled=1\n"
           "ap_scan=2\n"  // at once, without a scan, which fails while another program scans
           "network={\n"
           " ssid=" +
           name +
           "\n"
           " psk=\"" +
           passPhrase +
           "\"\n"
           " key_mgmt=WPA-PSK\n"
           " proto=RSN\n"
           " pairwise=CCMP\n"
           " group=CCMP\n"
           " mode=2\n"
           " frequency=" +
           std::to_string(frequency) +
           "\n"
           "}\n";
}

AccessPointFiles::AccessPointFiles(const std::filesystem::path& parent, std::string interface,
                                   const std::optional<Account>& account)
    : interface_(std::move(interface)), folder_(parent / interface_), account_(account)
{
    constexpr mode_t kToPassThrough = S_IRWXU | S_IXGRP | S_IXOTH;
    const bool hasParent = MakeFolder(parent) || errno == EEXIST;
    const bool isReachable = hasParent && (!account_ || chmod(parent.c_str(), kToPassThrough) == 0);
    if (!isReachable || !MakeFolder(folder_)) {
        Throw(folder_.string());
    }
    if (!GiveTo(account_, folder_)) {
        const int error = errno;
        std::error_code ignored;
        std::filesystem::remove(folder_, ignored);
        errno = error;
        Throw(folder_.string());
    }
}

AccessPointFiles::~AccessPointFiles()
{
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
    std::filesystem::remove(folder_.parent_path(), ignored);  // if it was the last one
}

void AccessPointFiles::WriteConfiguration(const std::string& ssid, const std::string& passPhrase,
                                          std::uint32_t frequency) const
{
    const std::string text = ConfigurationOf(ssid, passPhrase, frequency, File("control"));
    const FileDescriptor file(
        open(Configuration().c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!file || write(file.Get(), text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        Throw(Configuration());
    }
    if (!GiveTo(account_, Configuration())) {
        Throw(Configuration());
    }
}

Leases AccessPointFiles::GivenAddresses() const
{
    std::ifstream file(LeaseFile());
    return ReadLeases(std::string(std::istreambuf_iterator<char>(file), {}));
}

}  // namespace pelacon::service::linux_radios::wifi
