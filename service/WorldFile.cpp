#include <service/WorldFile.h>
#include <service/json/Reader.h>

#include <fstream>
#include <iterator>
#include <limits>

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
        if (const auto faults = fields.Optional("faults")) {
            file.faults = faults->List(&ReadFault);
        }
    });
    return file;
}

WorldFile LoadWorldFile(const std::string& path)
{
    std::ifstream stream(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(stream), {}};
    if (!stream || stream.bad()) {
        throw json::Error(path + ": cannot be read");
    }
    return ReadWorldFile(text, path);
}

}  // namespace pelacon::service
