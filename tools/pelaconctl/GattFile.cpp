#include <json/GattFields.h>
#include <tools/pelaconctl/Failure.h>
#include <tools/pelaconctl/GattFile.h>

#include <fstream>
#include <sstream>

namespace pelacon::ctl {

namespace {

void ReadCharacteristic(json::Fields& fields, ServedCharacteristic& characteristic)
{
    characteristic.uuid = json::ReadUuid(fields.Required("uuid"));
    fields.Read("flags", characteristic.flags, &json::ReadGattFlags);
    fields.Read("value", characteristic.value, &json::ReadGattValue);
}

void ReadService(json::Fields& fields, ServedService& service)
{
    service.uuid = json::ReadUuid(fields.Required("uuid"));
    fields.Read("characteristics", service.characteristics, json::Distinct(&ReadCharacteristic));
}

}  // namespace

std::vector<ServedService> ReadServices(std::string_view text, const std::string& name)
{
    std::vector<ServedService> services;
    try {
        const json::Document document = json::Parse(text, name);
        json::Reader(document).Object([&](json::Fields& fields) {
            const json::Reader list = fields.Required("services");
            services = json::Distinct(&ReadService)(list);
            if (services.empty()) {
                list.Fail("must not be empty");
            }
        });
    } catch (const json::Error& error) {
        throw Failure(ExitStatus::kUsage, error.what() + std::string("."));
    }
    return services;
}

std::vector<ServedService> LoadServices(const std::string& path)
{
    std::ifstream stream(path, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    if (!stream) {
        throw Failure(ExitStatus::kUsage, "Cannot read the file " + path + ".");
    }
    return ReadServices(text.str(), path);
}

}  // namespace pelacon::ctl
