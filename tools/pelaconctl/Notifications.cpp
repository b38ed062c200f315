#include <protocol/BleAdvertiser.h>
#include <protocol/BleManager.h>
#include <protocol/BleScanner.h>
#include <protocol/Catalogue.h>
#include <protocol/ErrorStatus.h>
#include <protocol/GattClient.h>
#include <protocol/GattServer.h>
#include <protocol/ServiceLink.h>
#include <protocol/SoftAp.h>
#include <protocol/TargetAdv.h>
#include <protocol/Vod2dConfig.h>
#include <protocol/Vod2dGroup.h>
#include <protocol/WifiState.h>
#include <tools/pelaconctl/Notifications.h>
#include <tools/pelaconctl/Text.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstddef>
#include <functional>

namespace pelacon::ctl {

using Json = nlohmann::ordered_json;

namespace {

using protocol::ByteView;

/// The first `length` bytes of a field, or the whole field if it is shorter.
template <std::size_t Size, typename Length>
std::string HexText(const std::uint8_t (&field)[Size], Length length)
{
    const auto wanted = length > Length{0} ? static_cast<std::size_t>(length) : 0;
    return protocol::HexText(ByteView(field).first(std::min(wanted, Size)));
}

// One function per record, which names its fields. The records are described in protocol/.

Json Fields(const protocol::AdvertiserStatusRecord& record)
{
    return {{"advertiser", record.advertiserId}, {"status", record.status}};
}

Json Fields(const protocol::ScanStatusRecord& record)
{
    return {{"listener", record.listenerId}, {"status", record.status}};
}

Json Fields(const protocol::ScanResultRecord& record)
{
    const protocol::ScanResult& result = record.result;
    return {{"address", protocol::AddressText(result.address)},
            {"rssi", result.rssi},
            {"eventType", result.eventType},
            {"data", HexText(result.data, result.dataLen)}};
}

Json Fields(const protocol::TargetAdvRecord& record)
{
    return {{"business", record.business}, {"data", protocol::HexText(record.data)}};
}

Json Fields(const protocol::GattConnectionState& record)
{
    return {{"client", record.clientId}, {"state", record.state}, {"reason", record.reason}};
}

Json Fields(const protocol::GattValueRecord& record)
{
    return {{"client", record.clientId},
            {"service", protocol::TextIn(record.serviceUuid)},
            {"characteristic", protocol::TextIn(record.charUuid)},
            {"value", HexText(record.value, record.dataLen)},
            {"status", record.status}};
}

Json Fields(const protocol::GattPeerRecord& record)
{
    return {{"server", record.serverId}, {"peer", protocol::AddressText(record.peer)}};
}

Json Fields(const protocol::GattPeerValueRecord& record)
{
    return {{"server", record.serverId},
            {"peer", protocol::AddressText(record.peer)},
            {"value", record.value}};
}

Json Fields(const protocol::GattPeerRequestRecord& record)
{
    return {{"server", record.serverId},
            {"peer", protocol::AddressText(record.peer)},
            {"characteristic", protocol::TextIn(record.charUuid)},
            {"data", HexText(record.data, record.dataLen)}};
}

Json Fields(const protocol::WifiCfg& record)
{
    return {{"type", record.type}, {"data", HexText(record.blob, record.length)}};
}

Json Fields(const protocol::CardStateChange& record)
{
    Json cards = Json::array();
    const auto count = static_cast<std::size_t>(std::max(0, record.count));
    for (const protocol::CardState& card :
         std::span(record.cards).first(std::min(count, protocol::kMostCards))) {
        cards.push_back({{"card", card.card}, {"state", card.state}});
    }
    return {{"changed", record.changed}, {"cards", cards}};
}

Json Fields(const protocol::GroupChange& record)
{
    return {{"state", record.state}, {"reason", record.reason}};
}

Json Fields(const protocol::StationChange& record)
{
    return {{"state", record.state},
            {"station", protocol::TextIn(record.address)},
            {"ipAddress", protocol::TextIn(record.ipAddress)}};
}

Json Fields(const protocol::SoftApAdvertisement& record)
{
    return {{"status", record.status},
            {"channel", record.channel},
            {"ssid", protocol::TextIn(record.ssid)}};
}

Json Fields(const protocol::Nothing& /*none*/)
{
    return Json::object();
}

/// Reads one kind of notification.
struct Reader {
    std::int32_t id;
    std::function<Json(ByteView payload)> read;
};

template <typename Record>
Reader ReaderOf(const protocol::Notification<Record>& notification)
{
    return {notification.id,
            [](ByteView payload) { return Fields(protocol::Payload<Record>::Read(payload)); }};
}

/// For records of one number, whose meaning depends on the notification.
Reader NumberReader(const protocol::Notification<protocol::Int32Record>& notification,
                    const char* name)
{
    return {notification.id, [name](ByteView payload) -> Json {
                return {{name, protocol::ReadPadded<protocol::Int32Record>(payload).value}};
            }};
}

const Reader kReaders[] = {
    ReaderOf(protocol::kServiceStarted),
    {protocol::kBtStateChanged.id,
     [](ByteView payload) -> Json {
         return {
             {"state", BtStateName(protocol::ReadPadded<protocol::Int32Record>(payload).value)}};
     }},
    ReaderOf(protocol::kAdvertiseDisabled),
    ReaderOf(protocol::kScanStatus),
    ReaderOf(protocol::kScanResult),
    ReaderOf(protocol::kTargetAdvReceived),
    ReaderOf(protocol::kGattConnectionState),
    ReaderOf(protocol::kGattConnectionEnd),
    ReaderOf(protocol::kGattNotification),
    ReaderOf(protocol::kGattPeerConnected),
    ReaderOf(protocol::kGattPeerDisconnected),
    ReaderOf(protocol::kGattNotifySent),
    ReaderOf(protocol::kGattMtuChanged),
    ReaderOf(protocol::kGattPeerReads),
    ReaderOf(protocol::kGattPeerWrites),
    ReaderOf(protocol::kWifiCfgChanged),
    ReaderOf(protocol::kConnNotify),
    ReaderOf(protocol::kWifiCardStateChange),
    ReaderOf(protocol::kSoftApGroupsChange),
    ReaderOf(protocol::kSoftApConnectionStateChange),
    NumberReader(protocol::kSoftApConnectStatus, "state"),
    ReaderOf(protocol::kSoftApAdvertisement),
    NumberReader(protocol::kSoftApDeviceConnection, "state"),
    NumberReader(protocol::kWifiConnectChannel, "channel"),
    NumberReader(protocol::kWifiSwitchState, "state"),
    NumberReader(protocol::kErrorStatus, "code"),
};

}  // namespace

std::string NotificationName(std::int32_t id)
{
    const protocol::CatalogueEntry* const entry = protocol::FindNotification(id);
    return entry != nullptr ? entry->name : FormatMessageId(id);
}

nlohmann::ordered_json NotificationFields(std::int32_t id, std::span<const std::uint8_t> payload)
{
    const auto* const reader =
        std::find_if(std::begin(kReaders), std::end(kReaders),
                     [id](const Reader& candidate) { return candidate.id == id; });
    return reader != std::end(kReaders) ? reader->read(payload) : Json();
}

std::string FieldsLine(const nlohmann::ordered_json& fields)
{
    std::string line;
    for (const auto& [name, value] : fields.items()) {
        line += (line.empty() ? "" : " ") + name + "=";
        line += Printable(value.is_string()
                              ? value.get<std::string>()
                              : value.dump(-1, ' ', false, Json::error_handler_t::replace));
    }
    return line;
}

}  // namespace pelacon::ctl
