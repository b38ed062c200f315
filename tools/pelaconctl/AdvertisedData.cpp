#include <PelaconSDK/BleScanner.h>
#include <protocol/AdStructure.h>
#include <tools/pelaconctl/AdvertisedData.h>
#include <tools/pelaconctl/Failure.h>
#include <tools/pelaconctl/Text.h>

#include <nlohmann/json.hpp>

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
    for (const std::uint8_t type : {protocol::kAdUuids16, protocol::kAdSomeUuids16}) {
        if (auto uuids = Find(bytes, type)) {
            for (; uuids->size() >= 2; uuids = uuids->subspan(2)) {
                data.services.push_back(IdentifierIn(*uuids));
            }
        }
    }
    data.serviceData = FindIdentified(bytes, protocol::kAdServiceData16);
    data.manufacturer = FindIdentified(bytes, protocol::kAdManufacturer);
    return data;
}

std::string DataText(const AdvertisedData& data)
{
    std::string text;
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
        for (const std::uint16_t uuid : data.services) {
            services.push_back(FormatUuid16(uuid));
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

void AppendUuid16(std::vector<std::uint8_t>& bytes, std::uint16_t identifier)
{
    bytes.push_back(static_cast<std::uint8_t>(identifier));
    bytes.push_back(static_cast<std::uint8_t>(identifier >> 8));
}

}  // namespace pelacon::ctl
