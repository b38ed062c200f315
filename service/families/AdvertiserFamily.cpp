#include <protocol/ServiceStatus.h>
#include <service/families/AdvertiserFamily.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <optional>

namespace pelacon::service {

using protocol::AdvertiserRequest;
using protocol::StartAdvertiseRequest;
using protocol::StatusReply;
using std::chrono::milliseconds;

namespace {

constexpr std::int32_t kDefaultInterval = 100;
constexpr std::int32_t kShortestInterval = 20;
constexpr std::int32_t kLongestInterval = 10240;
constexpr std::int32_t kAllChannels = 0b111;
constexpr std::int32_t kLowestTxPower = -127;
constexpr std::int32_t kHighestTxPower = 20;

bool IsWithin(std::int32_t value, std::int32_t lowest, std::int32_t highest)
{
    return value >= lowest && value <= highest;
}

/// The shorter of a request's two intervals; nothing if they are invalid.
std::optional<milliseconds> IntervalOf(const StartAdvertiseRequest& request)
{
    const std::int32_t shortest =
        request.params.minInterval != 0 ? request.params.minInterval : kDefaultInterval;
    const std::int32_t longest =
        request.params.maxInterval != 0 ? request.params.maxInterval : shortest;
    if (!IsWithin(shortest, kShortestInterval, kLongestInterval) ||
        !IsWithin(longest, shortest, kLongestInterval)) {
        return std::nullopt;
    }
    return milliseconds(shortest);
}

bool TimesMakeSense(const StartAdvertiseRequest& request)
{
    const std::int32_t total = request.params.sendTotalTime;
    const std::int32_t part = request.params.sendPartTime;
    return total >= 0 && part >= 0 && (total == 0 || total >= part);
}

bool FieldsMakeSense(const StartAdvertiseRequest& request)
{
    return IsWithin(request.params.channelMap, 0, kAllChannels) &&
           IsWithin(request.params.advEventType, 0,
                    static_cast<std::int32_t>(radio::AdvertisementKind::kNonConnectable)) &&
           IsWithin(request.params.txPower, kLowestTxPower, kHighestTxPower) &&
           request.advData.length <= protocol::kMostAdvData &&
           request.scanResp.length <= protocol::kMostAdvData;
}

std::vector<std::uint8_t> BytesOf(const protocol::AdvertisingField& field)
{
    return {field.bytes, field.bytes + field.length};
}

/// What the radio is to send; nothing if the request is invalid.
std::optional<radio::Advertising> AdvertisingOf(const StartAdvertiseRequest& request)
{
    const auto interval = IntervalOf(request);
    if (!interval || !TimesMakeSense(request) || !FieldsMakeSense(request)) {
        return std::nullopt;
    }
    return radio::Advertising{
        *interval, static_cast<radio::AdvertisementKind>(request.params.advEventType),
        request.params.txPower, BytesOf(request.advData), BytesOf(request.scanResp)};
}

}  // namespace

AdvertiserFamily::AdvertiserFamily(const Context& context)
    : context_(context),
      adapter_(context.radios.GetAdapter()),
      radio_(context.radios.GetAdvertiser())
{
    adapter_.Observe([this](radio::AdapterState) {
        if (!adapter_.IsOn()) {
            AdapterWentOff();
        }
    });

    Router& router = context.router;
    router.Serve(protocol::kRegisterAdvertiser,
                 [this](Session& session, const protocol::Nothing&) { return Register(session); });
    router.Serve(protocol::kUnregisterAdvertiser,
                 [this](Session& session, const AdvertiserRequest& request) {
                     return StatusReply{Unregister(session, request.advertiserId)};
                 });
    router.Serve(protocol::kStartAdvertise,
                 [this](Session& session, const StartAdvertiseRequest& request) {
                     return StatusReply{Start(session, request)};
                 });
    router.Serve(protocol::kStopAdvertise,
                 [this](Session& session, const AdvertiserRequest& request) {
                     return StatusReply{Stop(session, request.advertiserId)};
                 });
}

void AdvertiserFamily::ClientLeft(Session& session)
{
    clients_.erase(&session);
}

protocol::ValueStatusReply AdvertiserFamily::Register(Session& session)
{
    Advertisers& advertisers = clients_[&session];
    if (advertisers.size() >= kMostAdvertisers) {
        return {0, protocol::kStatusLimitReached};
    }
    const std::int32_t id = context_.ids.Next();
    advertisers.emplace(id, Advertiser{});
    return {id, protocol::kStatusDone};
}

std::int32_t AdvertiserFamily::Unregister(Session& session, std::int32_t id)
{
    if (Find(session, id) == nullptr) {
        return protocol::kStatusUnknownId;
    }
    clients_[&session].erase(id);
    return protocol::kStatusDone;
}

std::int32_t AdvertiserFamily::Start(Session& session, const StartAdvertiseRequest& request)
{
    const std::int32_t id = request.advertiserId;
    Advertiser* const advertiser = Find(session, id);
    if (advertiser == nullptr) {
        return protocol::kStatusUnknownId;
    }
    const auto advertising = AdvertisingOf(request);
    if (!advertising) {
        return protocol::kStatusInvalidArgument;
    }
    if (!adapter_.IsOn()) {
        return protocol::kStatusRadioOff;
    }
    *advertiser = Advertiser{};
    advertiser->active = true;
    advertiser->advertising = *advertising;
    Turn(*advertiser);
    if (request.params.sendPartTime > 0) {
        advertiser->partTime = context_.scheduler.Every(milliseconds(request.params.sendPartTime),
                                                        [this, advertiser] { Turn(*advertiser); });
    }
    if (request.params.sendTotalTime > 0) {
        advertiser->totalTime = context_.scheduler.After(
            milliseconds(request.params.sendTotalTime),
            [=, this, &session] { GoSilentByItself(session, id, *advertiser, kBleAdvTimeOver); });
    }
    return protocol::kStatusDone;
}

std::int32_t AdvertiserFamily::Stop(Session& session, std::int32_t id)
{
    Advertiser* const advertiser = Find(session, id);
    if (advertiser == nullptr) {
        return protocol::kStatusUnknownId;
    }
    *advertiser = Advertiser{};
    return protocol::kStatusDone;
}

AdvertiserFamily::Advertiser* AdvertiserFamily::Find(Session& session, std::int32_t id)
{
    const auto client = clients_.find(&session);
    if (client == clients_.end()) {
        return nullptr;
    }
    const auto advertiser = client->second.find(id);
    return advertiser != client->second.end() ? &advertiser->second : nullptr;
}

/// Changes between advertising and pause.
void AdvertiserFamily::Turn(Advertiser& advertiser)
{
    if (advertiser.onAir) {
        advertiser.onAir.reset();
    } else {
        advertiser.onAir = radio_.Start(advertiser.advertising);
    }
}

void AdvertiserFamily::GoSilentByItself(Session& session, std::int32_t id, Advertiser& advertiser,
                                        std::int32_t why)
{
    advertiser = Advertiser{};
    session.Notify(protocol::kAdvertiseDisabled, {id, why});
}

void AdvertiserFamily::AdapterWentOff()
{
    for (auto& [session, advertisers] : clients_) {
        for (auto& [id, advertiser] : advertisers) {
            if (advertiser.active) {
                GoSilentByItself(*session, id, advertiser, kBleAdvAdapterOff);
            }
        }
    }
}

void AdvertiserFamily::Repair(Session& session, const protocol::RepairRequest& held)
{
    Advertisers& advertisers = clients_[&session];
    for (const std::int32_t id : held.advertiserIds) {
        // One that is there already was registered since the restart.
        if (id > 0 && advertisers.size() < kMostAdvertisers && advertisers.try_emplace(id).second) {
            session.Notify(protocol::kAdvertiseDisabled, {id, kBleAdvServiceRestart});
        }
    }
}

void AdvertiserFamily::Describe(nlohmann::json& status) const
{
    std::size_t registered = 0;
    std::size_t active = 0;
    for (const auto& [session, advertisers] : clients_) {
        registered += advertisers.size();
        active += static_cast<std::size_t>(
            std::count_if(advertisers.begin(), advertisers.end(),
                          [](const auto& entry) { return entry.second.active; }));
    }
    status["advertiser"] = {{"advertisers", registered}, {"advertising", active}};
}

}  // namespace pelacon::service
