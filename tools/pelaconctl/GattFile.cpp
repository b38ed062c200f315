#include <PelaconSDK/BleGattServer.h>
#include <json/GattFields.h>
#include <tools/pelaconctl/Failure.h>
#include <tools/pelaconctl/GattFile.h>

#include <fstream>
#include <sstream>

namespace pelacon::ctl {

namespace {

ServedCharacteristic ReadCharacteristic(const json::Reader& reader)
{
    ServedCharacteristic characteristic{{}, kBleGattCharRead, {}};
    reader.Object([&](json::Fields& fields) {
        characteristic.uuid = json::ReadUuid(fields.Required("uuid"));
        fields.Read("flags", characteristic.flags, &json::ReadGattFlags);
        fields.Read("value", characteristic.value, &json::ReadGattValue);
    });
    return characteristic;
}

ServedService ReadService(const json::Reader& reader)
{
    ServedService service;
    reader.Object([&](json::Fields& fields) {
        service.uuid = json::ReadUuid(fields.Required("uuid"));
        fields.Read("characteristics", service.characteristics,
                    json::Distinct(&ReadCharacteristic));
    });
    return service;
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
