#include <PelaconSDK/Vod2dGroup.h>
#include <protocol/ServiceStatus.h>
#include <service/families/ChannelChoice.h>
#include <service/families/WifiConfigFamily.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <functional>
#include <set>
#include <span>
#include <utility>

namespace pelacon::service {

namespace {

/// The number of types of configurations.
constexpr std::int32_t kMostTypes = 16;

constexpr std::int32_t kEveryCard = -1;

/// Which events of a connection a client has asked for.
constexpr std::int32_t kJoinedEvents = 1;
constexpr std::int32_t kLeftEvents = 2;

constexpr std::size_t kAddressDigits = 12;

}  // namespace

WifiConfigFamily::WifiConfigFamily(const Context& context)
    : wifi_(context.radios.GetWifi()), cards_(context.radios.GetWifiCards())
{
    cards_.Observe([this](std::size_t changed) { NotifyCard(changed); });
    context.radios.GetGroups().ObserveStations(
        [this](const radio::Station& station, bool joined) { NotifyStation(station, joined); });
    Router& router = context.router;
    router.Serve(protocol::kGetSelfWifiCfgInfo,
                 std::bind_front(&WifiConfigFamily::SelfConfiguration, this));
    router.Serve(protocol::kSetPeerWifiCfgInfo,
                 std::bind_front(&WifiConfigFamily::SetPeerConfiguration, this));
    router.Serve(protocol::kRegisterWifiCfg, [this](Session& session) {
        configurationListeners_.insert(&session);
        return protocol::kStatusDone;
    });
    router.Serve(protocol::kGetRecommendChannel,
                 std::bind_front(&WifiConfigFamily::Recommend, this));
    router.Serve(protocol::kGetIfaceCoexistCap, [this] {
        protocol::IfaceCoexistCapReply reply{};
        const std::string_view text =
            std::string_view(cards_.Coexistence()).substr(0, sizeof reply.capability);
        PutText(reply.capability, text);
        reply.length = static_cast<std::int32_t>(text.size());
        return reply;
    });
    router.Serve(protocol::kSetUpperScene, std::bind_front(&WifiConfigFamily::SetScene, this));
    router.Serve(protocol::kGetGuidByInterfaceName, std::bind_front(&WifiConfigFamily::Guid, this));
    router.Serve(protocol::kSetConnNotify,
                 std::bind_front(&WifiConfigFamily::AskForConnections, this));
    router.Serve(protocol::kSetWifiCardStateNotify,
                 std::bind_front(&WifiConfigFamily::AskForCards, this));
}

// A returning client ignores notifications that it has no table for. What it set before counts as
// its own again.
void WifiConfigFamily::ClientArrived(Session& session, bool returning)
{
    if (!returning) {
        return;
    }
    configurationListeners_.insert(&session);
    cardListeners_.insert(&session);
    for (Setting& setting : settings_) {
        if (setting.setter == nullptr && setting.processId == session.ProcessId()) {
            setting.setter = &session;
        }
    }
}

void WifiConfigFamily::ClientLeft(Session& session)
{
    configurationListeners_.erase(&session);
    cardListeners_.erase(&session);
    connectionListeners_.erase(&session);
    ForgetSetter(session);
}

/// What the client has set stays valid for the others. Of several settings of one type whose
/// setters have left, only the latest is kept, since none of them can be replaced any more.
void WifiConfigFamily::ForgetSetter(const Session& session)
{
    std::set<std::int32_t> types;
    std::vector<Setting> kept;
    std::reverse(settings_.begin(), settings_.end());
    for (Setting& setting : settings_) {
        if (setting.setter == &session) {
            setting.setter = nullptr;
            setting.processId = session.ProcessId();
        }
        if (setting.setter != nullptr || types.insert(setting.type).second) {
            kept.push_back(std::move(setting));
        }
    }
    std::reverse(kept.begin(), kept.end());
    settings_ = std::move(kept);
}

protocol::SelfWifiCfgReply WifiConfigFamily::SelfConfiguration(
    const Session& session, const protocol::Int32Record& request) const
{
    const std::int32_t type = request.value;
    const auto setting = std::find_if(
        settings_.rbegin(), settings_.rend(),
        [&](const Setting& one) { return one.type == type && one.setter != &session; });
    const Bytes blob = setting != settings_.rend() ? setting->blob : DefaultConfiguration(type);
    protocol::SelfWifiCfgReply reply{};
    PutBytes(reply.blob, blob);
    reply.length = static_cast<std::int32_t>(blob.size());
    reply.status = blob.empty() ? protocol::kStatusNotFound : protocol::kStatusDone;
    return reply;
}

/// The service's own description of this device, as text.
Bytes WifiConfigFamily::DefaultConfiguration(std::int32_t type) const
{
    if (type != kSelfCfgGroupOwner && type != kSelfCfgStation) {
        return {};
    }
    std::string text = type == kSelfCfgGroupOwner ? "role=owner" : "role=station";
    text += ";address=" + protocol::AddressDigits(wifi_.Address()) + ";channels=";
    const char* separator = "";
    for (const radio::Wifi::Channel& channel : wifi_.Channels()) {
        text += separator + std::to_string(channel.number);
        separator = ",";
    }
    return {text.begin(), text.begin() + static_cast<std::ptrdiff_t>(
                                             std::min(text.size(), protocol::kWifiCfgSize))};
}

std::int32_t WifiConfigFamily::SetPeerConfiguration(Session& session,
                                                    const protocol::WifiCfg& request)
{
    const bool isTypeKnown = request.type >= 0 && request.type < kMostTypes;
    if (!isTypeKnown || request.length < 0 ||
        request.length > static_cast<std::int32_t>(protocol::kWifiCfgSize)) {
        return protocol::kStatusInvalidArgument;
    }
    std::erase_if(settings_, [&](const Setting& one) {
        return one.setter == &session && one.type == request.type;
    });
    settings_.push_back(
        {&session, request.type, Bytes(request.blob, request.blob + request.length)});
    for (Session* listener : configurationListeners_) {
        if (listener != &session) {
            listener->Notify(protocol::kWifiCfgChanged, request);
        }
    }
    return protocol::kStatusDone;
}

protocol::RecommendChannelReply WifiConfigFamily::Recommend(ByteView request) const
{
    using protocol::ChannelWish;
    std::vector<ChannelWish> wishes(request.size() / sizeof(ChannelWish));
    if (wishes.size() > protocol::kMostWishes || request.size() % sizeof(ChannelWish) != 0) {
        return {{}, protocol::kStatusInvalidArgument};
    }
    if (!wishes.empty()) {
        std::memcpy(wishes.data(), request.data(), request.size());
    }
    if (!std::ranges::all_of(wishes, &IsValid)) {
        return {{}, protocol::kStatusInvalidArgument};
    }
    const auto recommended = RecommendChannel(wifi_, wishes);
    return recommended ? protocol::RecommendChannelReply{*recommended, protocol::kStatusDone}
                       : protocol::RecommendChannelReply{{}, protocol::kStatusNotFound};
}

const radio::WifiInterface* WifiConfigFamily::FindInterface(std::string_view name) const
{
    const auto& interfaces = cards_.Interfaces();
    const auto found = std::ranges::find(interfaces, name, &radio::WifiInterface::name);
    return found != interfaces.end() ? &*found : nullptr;
}

std::int32_t WifiConfigFamily::SetScene(const protocol::UpperSceneRequest& request)
{
    const radio::WifiInterface* const found = FindInterface(TextIn(request.ifName));
    if (found == nullptr) {
        return protocol::kStatusNotFound;
    }
    scenes_[found->name] = request.scene.scene;
    return protocol::kStatusDone;
}

protocol::InterfaceGuidReply WifiConfigFamily::Guid(std::string_view name) const
{
    protocol::InterfaceGuidReply reply{};
    if (const radio::WifiInterface* const found = FindInterface(name)) {
        reply.index = found->index;
        PutText(reply.guid, found->guid);
    } else {
        reply.status = protocol::kStatusNotFound;
    }
    return reply;
}

protocol::CardStateReply WifiConfigFamily::AskForCards(Session& session,
                                                       const protocol::CardState& request)
{
    protocol::CardStateReply reply{};
    const std::span<const radio::CardState> states = Cards();
    for (std::size_t index = 0; index < states.size(); ++index) {
        const auto number = static_cast<std::int32_t>(index);
        if (request.card == kEveryCard || request.card == number) {
            reply.entries[reply.count++] = {number, static_cast<std::int32_t>(states[index])};
        }
    }
    if (reply.count == 0) {
        reply.status = protocol::kStatusNotFound;
    } else {
        cardListeners_.insert(&session);
    }
    return reply;
}

/// Keeps the address in lower case, as in notifications.
std::int32_t WifiConfigFamily::AskForConnections(Session& session,
                                                 protocol::ConnNotifyRequest request)
{
    const std::string_view address = TextIn(request.address);
    const auto isDigit = [](char character) { return protocol::HexValue(character) >= 0; };
    if (!address.empty() &&
        (address.size() != kAddressDigits || !std::ranges::all_of(address, isDigit))) {
        return protocol::kStatusInvalidArgument;
    }
    for (char& character : request.address) {
        character = static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
    }
    connectionListeners_[&session] = request;
    return protocol::kStatusDone;
}

/// The cards that fit into a record.
std::span<const radio::CardState> WifiConfigFamily::Cards() const
{
    const std::span<const radio::CardState> all = cards_.States();
    return all.first(std::min(all.size(), radio::WifiCards::kMostCards));
}

void WifiConfigFamily::NotifyCard(std::size_t changed) const
{
    protocol::CardStateChange change{};
    const std::span<const radio::CardState> states = Cards();
    if (changed >= states.size()) {
        return;
    }
    for (std::size_t index = 0; index < states.size(); ++index) {
        change.cards[index] = {static_cast<std::int32_t>(index),
                               static_cast<std::int32_t>(states[index])};
    }
    change.changed = static_cast<std::int32_t>(changed);
    change.count = static_cast<std::int32_t>(states.size());
    NotifyAll(cardListeners_, protocol::kWifiCardStateChange, change);
}

void WifiConfigFamily::NotifyStation(const radio::Station& station, bool joined) const
{
    const std::string address = protocol::AddressDigits(station.address);
    protocol::WifiCfg event{};
    event.type = joined ? kVod2dStationJoined : kVod2dStationLeft;
    std::ranges::copy(address, event.blob);
    event.length = static_cast<std::int32_t>(address.size());
    for (const auto& [listener, request] : connectionListeners_) {
        const bool isWanted = (request.events & (joined ? kJoinedEvents : kLeftEvents)) != 0;
        const std::string_view only = TextIn(request.address);
        if (isWanted && (only.empty() || only == address)) {
            listener->Notify(protocol::kConnNotify, event);
        }
    }
}

void WifiConfigFamily::Describe(json::Output& status) const
{
    json::Output description{
        {"configurations", settings_.size()},
        {"configurationListeners", configurationListeners_.size()},
        {"connectionListeners", connectionListeners_.size()},
        {"cardListeners", cardListeners_.size()},
    };
    for (const auto& [name, scene] : scenes_) {
        description["scene " + name] = scene;
    }
    status["wifiConfig"] = description;
}

}  // namespace pelacon::service
