#include <json/Reader.h>
#include <service/simulation/WorldFile.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string>
#include <system_error>

namespace pelacon::service::simulation {

WorldFile ReadWorldFile(std::string_view text, const std::string& name)
{
    WorldFile file;
    const json::Document document = json::Parse(text, name);
    json::Reader(document).Object([&](json::Fields& fields) {
        fields.Read("seed", file.seed, 0, std::numeric_limits<std::int64_t>::max());
        fields.Read("adapter", file.adapter, &ReadAdapter);
        fields.Read("stack", file.stack, &ReadStack);
        fields.Read("wifi", file.wifi, &ReadWifi);
        fields.Read("group", file.group, &ReadGroup);
        fields.Read("softAp", file.softAp, &ReadGroup);
        fields.Read("phone", file.phone, &ReadPhone);
        fields.Read("wifiCards", file.wifiCards, &ReadWifiCards);
        fields.Read("errors", file.errors, &ReadError);
        fields.Read("gatt", file.gatt, &ReadGattLink);
        fields.Read("peripherals", file.peripherals, &ReadPeripherals);
        fields.Read("targetedAdvertisements", file.targetAdvs, &ReadTargetAdv);
        fields.Read("faults", file.faults, &ReadFault);
    });
    return file;
}

WorldFile LoadWorldFile(const std::string& path)
{
    constexpr std::size_t kMostBytes = 16UL * 1024 * 1024;
    std::error_code error;
    const std::filesystem::path file(std::u8string(path.begin(), path.end()));
    const auto type = std::filesystem::status(file, error).type();
    if (error || type == std::filesystem::file_type::not_found) {
        throw json::Error(path + ": cannot be read: " + error.message());
    }
    if (type != std::filesystem::file_type::regular && type != std::filesystem::file_type::fifo) {
        throw json::Error(path + ": cannot be read: it is neither a file nor a pipe");
    }
    std::ifstream stream(file, std::ios::binary);
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

}  // namespace pelacon::service::simulation
