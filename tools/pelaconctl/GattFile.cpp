#include <PelaconSDK/BleGattServer.h>
#include <service/json/GattFields.h>
#include <tools/pelaconctl/Failure.h>
#include <tools/pelaconctl/GattFile.h>

#include <fstream>
#include <sstream>

namespace pelacon::ctl {

namespace json = service::json;

namespace {

ServedCharacteristic ReadCharacteristic(const json::Reader& reader)
{
    ServedCharacteristic characteristic{{}, kBleGattCharRead, {}};
    reader.Object([&](json::Fields& fields) {
        characteristic.uuid = json::ReadUuid(fields.Required("uuid"));
        if (const auto flags = fields.Optional("flags")) {
            characteristic.flags = json::ReadGattFlags(*flags);
        }
        if (const auto value = fields.Optional("value")) {
            characteristic.value = json::ReadGattValue(*value);
        }
    });
    return characteristic;
}

ServedService ReadService(const json::Reader& reader)
{
    ServedService service;
    reader.Object([&](json::Fields& fields) {
        service.uuid = json::ReadUuid(fields.Required("uuid"));
        if (const auto characteristics = fields.Optional("characteristics")) {
            service.characteristics = json::ReadDistinct(*characteristics, &ReadCharacteristic);
        }
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
            services = json::ReadDistinct(list, &ReadService);
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
