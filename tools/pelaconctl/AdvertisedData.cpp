#include <PelaconSDK/BleScanner.h>
#include <protocol/AdStructure.h>
#include <tools/pelaconctl/AdvertisedData.h>
#include <tools/pelaconctl/Failure.h>
#include <tools/pelaconctl/GattText.h>
#include <tools/pelaconctl/Text.h>

#include <nlohmann/json.hpp>

#include <algorithm>

namespace pelacon::ctl {

namespace {

using View = std::span<const std::uint8_t>;

std::optional<View> Find(View bytes, std::uint8_t type)
{
    constexpr std::uint32_t kNoRoomForType = 0xFFFFFFFF;
    std::uint8_t* data = nullptr;
    std::uint32_t length = 0;
    const BleStatusC status = BleGetAdvDataByType(
        bytes.data(), static_cast<std::uint32_t>(bytes.size()), type, &data, &length);
    if (status != kBleStatusSuccess || length == kNoRoomForType) {
        return std::nullopt;
    }
    return View(data, length);
}

std::uint16_t IdentifierIn(View bytes)
{
    return static_cast<std::uint16_t>(bytes[0] | bytes[1] << 8);
}

std::optional<AdvertisedData::Identified> FindIdentified(View bytes, std::uint8_t type)
{
    const auto found = Find(bytes, type);
    if (!found || found->size() < 2) {
        return std::nullopt;
    }
    return AdvertisedData::Identified{IdentifierIn(*found), {found->begin() + 2, found->end()}};
}

/// How many bytes each UUID of a list has; 0 if the structure is no list of services.
std::size_t SizeInList(std::uint8_t type)
{
    switch (type) {
        case protocol::kAdSomeUuids16:
        case protocol::kAdUuids16:
            return 2;
        case protocol::kAdSomeUuids32:
        case protocol::kAdUuids32:
            return 4;
        case protocol::kAdSomeUuids128:
        case protocol::kAdUuids128:
            return 16;
        default:
            return 0;
    }
}

/// Where the short forms of 16 and of 32 bits end in a UUID.
constexpr std::size_t kShortEnd = 4;

/// A UUID of 2, 4 or 16 bytes, the low byte first.
protocol::Uuid UuidIn(View bytes)
{
    protocol::Uuid uuid = protocol::kBluetoothBaseUuid;
    const std::size_t end = bytes.size() > kShortEnd ? bytes.size() : kShortEnd;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        uuid.bytes[end - 1 - i] = bytes[i];
    }
    return uuid;
}

protocol::Uuid Uuid16(std::uint16_t identifier)
{
    const std::uint8_t bytes[] = {static_cast<std::uint8_t>(identifier),
                                  static_cast<std::uint8_t>(identifier >> 8)};
    return UuidIn(bytes);
}

std::string IdentifiedText(const AdvertisedData::Identified& part)
{
    return FormatUuid16(part.identifier) + ": " + protocol::HexText(part.data);
}

}  // namespace

AdvertisedData ReadAdvertisedData(std::span<const std::uint8_t> bytes)
{
    AdvertisedData data;
    for (const std::uint8_t type : {protocol::kAdName, protocol::kAdShortName}) {
        if (const auto name = Find(bytes, type); name && !data.name) {
            data.name = std::string(name->begin(), name->end());
        }
    }
    protocol::VisitAdStructures(bytes, [&](std::uint8_t type, View uuids) {
        const std::size_t size = SizeInList(type);
        for (; size != 0 && uuids.size() >= size; uuids = uuids.subspan(size)) {
            data.services.push_back(UuidIn(uuids.first(size)));
        }
    });
    data.serviceData = FindIdentified(bytes, protocol::kAdServiceData16);
    data.manufacturer = FindIdentified(bytes, protocol::kAdManufacturer);
    return data;
}

bool HasService(const AdvertisedData& data, const protocol::Uuid& service)
{
    return std::ranges::count(data.services, service) != 0 ||
           (data.serviceData && Uuid16(data.serviceData->identifier) == service);
}

std::string DataText(const AdvertisedData& data)
{
    std::string text;
    for (const protocol::Uuid& service : data.services) {
        text += (text.empty() ? "services " : ",") + FormatUuid(service);
    }
    for (const auto& part : {data.manufacturer, data.serviceData}) {
        if (part) {
            text += (text.empty() ? "" : "  ") + IdentifiedText(*part);
        }
    }
    return text;
}

void AddFields(nlohmann::ordered_json& record, const AdvertisedData& data)
{
    if (data.name) {
        record["name"] = *data.name;
    }
    if (!data.services.empty()) {
        nlohmann::ordered_json services = nlohmann::ordered_json::array();
        for (const protocol::Uuid& uuid : data.services) {
            services.push_back(FormatUuid(uuid));
        }
        record["services"] = services;
    }
    if (data.serviceData) {
        record["serviceData"] = {{"uuid", FormatUuid16(data.serviceData->identifier)},
                                 {"data", protocol::HexText(data.serviceData->data)}};
    }
    if (data.manufacturer) {
        record["manufacturer"] = {{"company", FormatUuid16(data.manufacturer->identifier)},
                                  {"data", protocol::HexText(data.manufacturer->data)}};
    }
}

std::string FormatUuid16(std::uint16_t identifier)
{
    return protocol::HexNumber(identifier, 4);
}

std::uint16_t ParseUuid16(const std::string& text)
{
    const std::vector<std::uint8_t> bytes = ParseHex(text);
    if (bytes.size() != 2) {
        throw Failure(ExitStatus::kUsage,
                      "\"" + text +
                          "\" is not a 16-bit identifier: four hexadecimal digits, such as "
                          "180F.");
    }
    return static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]);
}

std::vector<std::uint8_t> AdvertisedBytes(const protocol::Uuid& uuid)
{
    const bool isShort = std::equal(uuid.bytes.begin() + kShortEnd, uuid.bytes.end(),
                                    protocol::kBluetoothBaseUuid.bytes.begin() + kShortEnd);
    const bool is16Bit = isShort && uuid.bytes[0] == 0 && uuid.bytes[1] == 0;
    const auto begin = uuid.bytes.begin() + (is16Bit ? 2 : 0);
    const auto end = isShort ? uuid.bytes.begin() + kShortEnd : uuid.bytes.end();
    std::vector<std::uint8_t> bytes(begin, end);
    std::ranges::reverse(bytes);
    return bytes;
}

void AppendUuid16(std::vector<std::uint8_t>& bytes, std::uint16_t identifier)
{
    bytes.push_back(static_cast<std::uint8_t>(identifier));
    bytes.push_back(static_cast<std::uint8_t>(identifier >> 8));
}

}  // namespace pelacon::ctl
