#include <service/WorldFile.h>
#include <service/json/Reader.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string>
#include <system_error>

namespace pelacon::service {

WorldFile ReadWorldFile(std::string_view text, const std::string& name)
{
    WorldFile file;
    const json::Document document = json::Parse(text, name);
    json::Reader(document).Object([&](json::Fields& fields) {
        if (const auto seed = fields.Optional("seed")) {
            file.seed = seed->Integer<std::uint64_t>(0, std::numeric_limits<std::int64_t>::max());
        }
        if (const auto adapter = fields.Optional("adapter")) {
            file.adapter = simulation::ReadAdapter(*adapter);
        }
        if (const auto wifi = fields.Optional("wifi")) {
            file.wifi = simulation::ReadWifi(*wifi);
        }
        if (const auto group = fields.Optional("group")) {
            file.group = simulation::ReadGroup(*group);
        }
        if (const auto softAp = fields.Optional("softAp")) {
            file.softAp = simulation::ReadGroup(*softAp, simulation::UsualSoftAp());
        }
        if (const auto phone = fields.Optional("phone")) {
            file.phone = simulation::ReadPhone(*phone);
        }
        if (const auto cards = fields.Optional("wifiCards")) {
            file.wifiCards = simulation::ReadWifiCards(*cards);
        }
        if (const auto errors = fields.Optional("errors")) {
            file.errors = errors->List(&simulation::ReadError);
        }
        if (const auto gatt = fields.Optional("gatt")) {
            file.gatt = simulation::ReadGattLink(*gatt);
        }
        if (const auto peripherals = fields.Optional("peripherals")) {
            file.peripherals = simulation::ReadPeripherals(*peripherals);
        }
        if (const auto targetAdvs = fields.Optional("targetedAdvertisements")) {
            file.targetAdvs = targetAdvs->List(&simulation::ReadTargetAdv);
        }
        if (const auto faults = fields.Optional("faults")) {
            file.faults = faults->List(&ReadFault);
        }
    });
    return file;
}

WorldFile LoadWorldFile(const std::string& path)
{
    constexpr std::size_t kMostBytes = 16UL * 1024 * 1024;
    std::error_code error;
    const auto type = std::filesystem::status(path, error).type();
    if (error || type == std::filesystem::file_type::not_found) {
        throw json::Error(path + ": cannot be read: " + error.message());
    }
    if (type != std::filesystem::file_type::regular && type != std::filesystem::file_type::fifo) {
        throw json::Error(path + ": cannot be read: it is neither a file nor a pipe");
    }
    std::ifstream stream(path, std::ios::binary);
    std::string text;
    std::array<char, 64UL * 1024> piece;
    while (text.size() <= kMostBytes && stream) {
        stream.read(piece.data(), piece.size());
        text.append(piece.data(), static_cast<std::size_t>(stream.gcount()));
    }
    if (text.size() > kMostBytes) {
        throw json::Error(path + ": is larger than a world file may be (16 MiB)");
    }
    if (!stream.eof()) {
        throw json::Error(path + ": cannot be read");
    }
    return ReadWorldFile(text, path);
}

}  // namespace pelacon::service
