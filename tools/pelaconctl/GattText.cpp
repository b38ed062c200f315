#include <PelaconSDK/BleGattClient.h>
#include <tools/pelaconctl/Failure.h>
#include <tools/pelaconctl/GattText.h>
#include <tools/pelaconctl/Text.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>

namespace pelacon::ctl {

using protocol::Uuid;

namespace {

struct NamedService {
    std::uint16_t number;
    std::string_view name;
};

constexpr auto kNamedServices = std::to_array<NamedService>({
    {0x1800, "Generic Access"},
    {0x1801, "Generic Attribute"},
    {0x1802, "Immediate Alert"},
    {0x1803, "Link Loss"},
    {0x1804, "Tx Power"},
    {0x1805, "Current Time"},
    {0x1808, "Glucose"},
    {0x1809, "Health Thermometer"},
    {0x180A, "Device Information"},
    {0x180D, "Heart Rate"},
    {0x180E, "Phone Alert Status"},
    {0x180F, "Battery"},
    {0x1810, "Blood Pressure"},
    {0x1811, "Alert Notification"},
    {0x1812, "Human Interface Device"},
    {0x1813, "Scan Parameters"},
    {0x1814, "Running Speed and Cadence"},
    {0x1815, "Automation IO"},
    {0x1816, "Cycling Speed and Cadence"},
    {0x1818, "Cycling Power"},
    {0x1819, "Location and Navigation"},
    {0x181A, "Environmental Sensing"},
    {0x181B, "Body Composition"},
    {0x181C, "User Data"},
    {0x181D, "Weight Scale"},
    {0x181E, "Bond Management"},
    {0x181F, "Continuous Glucose Monitoring"},
    {0x1820, "Internet Protocol Support"},
    {0x1821, "Indoor Positioning"},
    {0x1822, "Pulse Oximeter"},
    {0x1826, "Fitness Machine"},
    {0x1827, "Mesh Provisioning"},
    {0x1828, "Mesh Proxy"},
});

constexpr Uuid UuidOf(std::uint16_t number)
{
    Uuid uuid = protocol::kBluetoothBaseUuid;
    uuid.bytes[2] = static_cast<std::uint8_t>(number >> 8U);
    uuid.bytes[3] = static_cast<std::uint8_t>(number & 0xFFU);
    return uuid;
}

bool IsText(std::span<const std::uint8_t> value)
{
    const std::string text(value.begin(), value.end());
    return !text.empty() && Printable(text) == text;
}

}  // namespace

Uuid ParseUuidText(std::string_view text)
{
    const bool hasPrefix = text.starts_with("0x") || text.starts_with("0X");
    const auto uuid = protocol::ParseUuid(text.substr(hasPrefix ? 2 : 0));
    if (!uuid) {
        throw Failure(
            ExitStatus::kUsage,
            "\"" + std::string(text) +
                "\" is not a UUID: four hexadecimal digits, such as 180D, or 36 characters "
                "with dashes.");
    }
    return *uuid;
}

std::string FormatUuid(const Uuid& uuid)
{
    std::string text = protocol::ShortText(uuid);
    if (text.find('-') == std::string::npos) {
        std::ranges::transform(text, text.begin(), [](char digit) {
            return digit >= 'a' && digit <= 'f' ? static_cast<char>(digit - 'a' + 'A') : digit;
        });
    }
    return text;
}

std::string_view ServiceName(const Uuid& uuid)
{
    const auto found = std::ranges::find(
        kNamedServices, uuid, [](const NamedService& service) { return UuidOf(service.number); });
    return found != kNamedServices.end() ? found->name : std::string_view();
}

std::vector<Uuid> NamedServices()
{
    std::vector<Uuid> uuids;
    uuids.reserve(kNamedServices.size());
    for (const NamedService& service : kNamedServices) {
        uuids.push_back(UuidOf(service.number));
    }
    return uuids;
}

std::vector<std::uint8_t> ParseValue(std::string_view text)
{
    std::vector<std::uint8_t> value;
    if (text.size() >= 2 && text.front() == '"' && text.back() == '"') {
        value.assign(text.begin() + 1, text.end() - 1);
    } else {
        value = ParseHex(text);
    }
    if (value.size() > kBleGattMaxValueLength) {
        throw Failure(ExitStatus::kUsage, "A value has at most 1,024 bytes; this one has " +
                                              std::to_string(value.size()) + ".");
    }
    return value;
}

std::string FormatValue(std::span<const std::uint8_t> value)
{
    if (value.empty()) {
        return "(empty)";
    }
    const std::string text(value.begin(), value.end());
    return protocol::HexText(value) + (IsText(value) ? " \"" + text + "\"" : "");
}

void AddValue(nlohmann::ordered_json& record, std::span<const std::uint8_t> value)
{
    record["value"] = protocol::HexText(value);
    if (IsText(value)) {
        record["text"] = std::string(value.begin(), value.end());
    }
}

void AddUuid(nlohmann::ordered_json& record, const std::string& name, const Uuid& uuid)
{
    record[name] = FormatUuid(uuid);
    record[name + "128"] = protocol::LongText(uuid);
}

GattPath GattPath::Parse(std::string_view service, std::string_view characteristic)
{
    return {ParseUuidText(service), ParseUuidText(characteristic)};
}

std::string GattPath::Text() const
{
    return FormatUuid(service) + "/" + FormatUuid(characteristic);
}

void GattPath::AddTo(nlohmann::ordered_json& record) const
{
    AddUuid(record, "service", service);
    AddUuid(record, "characteristic", characteristic);
}

}  // namespace pelacon::ctl
