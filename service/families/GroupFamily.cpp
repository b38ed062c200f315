#include <protocol/ServiceStatus.h>
#include <service/families/ChannelChoice.h>
#include <service/families/GroupFamily.h>
#include <service/families/RadioWait.h>

#include <algorithm>
#include <functional>
#include <utility>

namespace pelacon::service {

using radio::GroupOutcome;

namespace {

constexpr std::int32_t kMostSharedLinks = 1000;

Vod2dGroupState GroupStateOf(bool exists)
{
    return exists ? kVod2dGroupExists : kVod2dGroupNone;
}

protocol::StationChange ChangeOf(const radio::Station& station, bool joined)
{
    protocol::StationChange change{};
    change.state = joined ? kVod2dStationJoined : kVod2dStationLeft;
    PutText(change.address, protocol::AddressDigits(station.address));
    PutText(change.ipAddress, station.ipAddress);
    return change;
}

}  // namespace

GroupFamily::GroupFamily(const Context& context)
    : scheduler_(context.scheduler),
      wifi_(context.radios.GetWifi()),
      groups_(context.radios.GetGroups())
{
    groups_.ObserveGroup([this](bool exists, GroupOutcome reason) {
        NotifyAll(listeners_, protocol::kSoftApGroupsChange,
                  {GroupStateOf(exists), StatusOf(reason)});
    });
    groups_.ObserveStations([this](const radio::Station& station, bool joined) {
        NotifyAll(listeners_, protocol::kSoftApConnectionStateChange, ChangeOf(station, joined));
    });
    ServeLife(context.router);
    ServeQuestions(context.router);
    ServeSharedLink(context.router);
}

void GroupFamily::ServeLife(Router& router)
{
    router.Serve(protocol::kCreateGroup, std::bind_front(&GroupFamily::Create, this));
    router.Serve(protocol::kRemoveGroup, std::bind_front(&GroupFamily::Remove, this));
    router.Serve(protocol::kRegisterSoftApStateChanged, [this](Session& session) {
        listeners_.insert(&session);
        return protocol::kStatusDone;
    });
    // The client may have other tables registered: it is still notified of changes.
    router.Serve(protocol::kUnRegisterSoftApStateChanged, [] { return protocol::kStatusDone; });
}

void GroupFamily::ServeQuestions(Router& router)
{
    router.Serve(protocol::kGetGroupConfig, [this] {
        return protocol::GroupInfoReply{Info(), protocol::kStatusDone};
    });
    router.Serve(protocol::kGetGroupInfoConnected, [this] {
        return protocol::LinkGroupReply{
            {GroupStateOf(groups_.Exists()), static_cast<std::int32_t>(groups_.Stations().size())},
            protocol::kStatusDone};
    });
    router.Serve(protocol::kIsWifiActive, [this] {
        return protocol::WifiActiveReply{
            static_cast<std::uint8_t>(wifi_.IsOn()), {}, protocol::kStatusDone};
    });
    router.Serve(protocol::kGetFrequency, std::bind_front(&GroupFamily::Frequency, this));
    router.Serve(protocol::kGetChannelListFor5G, std::bind_front(&GroupFamily::ChannelList, this));
    router.Serve(protocol::kGetBaseMacAddress, [this] {
        protocol::BaseMacReply reply{};
        PutAddress(reply.mac, wifi_.Address());
        return reply;
    });
}

void GroupFamily::ServeSharedLink(Router& router)
{
    router.Serve(protocol::kSharedlinkIncrease, [this](Session& session) {
        std::int32_t& uses = sharedLinks_[&session];
        if (uses == kMostSharedLinks) {
            return protocol::kStatusLimitReached;
        }
        ++uses;
        return protocol::kStatusDone;
    });
    router.Serve(protocol::kSharedlinkDecrease, [this](Session& session) {
        const auto uses = sharedLinks_.find(&session);
        if (uses == sharedLinks_.end()) {
            return protocol::kStatusInvalidArgument;
        }
        if (--uses->second == 0) {
            sharedLinks_.erase(uses);
        }
        return protocol::kStatusDone;
    });
}

// A returning client may have registered with a service that has ended since. It is notified of the
// present state, and ignores what it has no callback for. While a group is being created there is
// no such state; the result of the creation is notified later.
void GroupFamily::ClientArrived(Session& session, bool returning)
{
    if (!returning) {
        return;
    }
    listeners_.insert(&session);
    if (!groups_.IsCreating()) {
        session.Notify(protocol::kSoftApGroupsChange,
                       {GroupStateOf(groups_.Exists()), protocol::kStatusInterrupted});
    }
    // The client's library has reported to its callbacks that all stations left.
    for (const radio::Station& station : groups_.Stations()) {
        session.Notify(protocol::kSoftApConnectionStateChange, ChangeOf(station, true));
    }
}

void GroupFamily::ClientLeft(Session& session)
{
    listeners_.erase(&session);
    sharedLinks_.erase(&session);
}

std::optional<protocol::GroupInfoReply> GroupFamily::Create(
    Session& session, const protocol::CreateGroupRequest& request)
{
    using protocol::GroupInfoReply;
    const std::int32_t chosen = ChooseChannel(request.info.channel);
    if (chosen == 0) {
        return GroupInfoReply{Info(), protocol::kStatusNotSupported};
    }
    // Also if the client has registered no table: it may stop waiting before the group exists, and
    // must then be notified of the group.
    listeners_.insert(&session);
    const auto outcome = AwaitGroup(scheduler_, session, [&](radio::Groups::Done done) {
        groups_.Create(chosen, std::move(done));
    });
    if (!outcome) {
        return std::nullopt;
    }
    if (*outcome == GroupOutcome::kAborted) {
        return GroupInfoReply{{}, StatusOf(*outcome)};
    }
    return GroupInfoReply{Info(), StatusOf(*outcome)};
}

std::optional<std::int32_t> GroupFamily::Remove(Session& session)
{
    if (IsUsedByOthers(session)) {
        return protocol::kStatusNotPermitted;
    }
    const auto outcome = AwaitGroup(
        scheduler_, session, [&](radio::Groups::Done done) { groups_.Remove(std::move(done)); });
    return outcome ? std::optional<std::int32_t>(StatusOf(*outcome)) : std::nullopt;
}

bool GroupFamily::IsUsedByOthers(const Session& session) const
{
    return std::ranges::any_of(sharedLinks_,
                               [&](const auto& uses) { return uses.first != &session; });
}

/// The requested channel, or the recommended one if that is 0; 0 if the adapter may not use it.
std::int32_t GroupFamily::ChooseChannel(std::int32_t requested) const
{
    if (requested == 0) {
        const auto recommended = RecommendChannel(wifi_, {});
        return recommended ? recommended->channel : 0;
    }
    const bool known = std::ranges::any_of(
        wifi_.Channels(), [&](const auto& channel) { return channel.number == requested; });
    return known ? requested : 0;
}

protocol::GroupInfo GroupFamily::Info() const
{
    const radio::Group group = groups_.Describe();
    protocol::GroupInfo info{};
    PutText(info.ssid, group.ssid);
    PutText(info.pwd, group.passPhrase);
    PutAddress(info.mac, group.address);
    info.channel = group.channel;
    info.active = groups_.Exists() ? 1 : 0;
    PutText(info.ipAddress, group.ipAddress);
    info.is5GHz = radio::BandOf(group.channel) == radio::Band::k5GHz ? 1 : 0;
    return info;
}

protocol::ChannelListReply GroupFamily::ChannelList() const
{
    protocol::ChannelListReply reply{};
    std::size_t count = 0;
    for (const radio::Wifi::Channel& channel : wifi_.Channels()) {
        if (radio::BandOf(channel.number) == radio::Band::k5GHz && count < reply.kMostChannels) {
            reply.channels[count++] = channel.number;
        }
    }
    reply.byteCount = static_cast<std::uint32_t>(count * sizeof reply.channels[0]);
    return reply;
}

std::int32_t GroupFamily::Frequency() const
{
    if (groups_.Exists()) {
        return radio::FrequencyOf(groups_.Describe().channel);
    }
    const auto connection = wifi_.CurrentConnection();
    return connection ? radio::FrequencyOf(connection->channel) : 0;
}

void GroupFamily::Describe(json::Output& status) const
{
    std::int32_t sharedLinks = 0;
    for (const auto& [session, uses] : sharedLinks_) {
        sharedLinks += uses;
    }
    json::Output::List stations;
    for (const radio::Station& station : groups_.Stations()) {
        stations.push_back({{"address", protocol::AddressDigits(station.address)},
                            {"ipAddress", station.ipAddress}});
    }
    status["group"] = {
        {"exists", groups_.Exists()},
        {"beingMade", groups_.IsCreating()},
        {"channel", groups_.Describe().channel},
        {"stations", stations},
        {"sharedLinks", sharedLinks},
        {"listeners", listeners_.size()},
    };
}

}  // namespace pelacon::service
