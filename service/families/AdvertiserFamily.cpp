#include <protocol/ServiceStatus.h>
#include <service/families/AdvertiserFamily.h>
#include <service/families/RadioWait.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <optional>
#include <utility>

namespace pelacon::service {

using protocol::AdvertiserRequest;
using protocol::StartAdvertiseRequest;
using std::chrono::milliseconds;

namespace {

constexpr std::int32_t kDefaultInterval = 100;
constexpr std::int32_t kShortestInterval = 20;
constexpr std::int32_t kLongestInterval = 10240;
constexpr std::int32_t kLowestTxPower = -127;
constexpr std::int32_t kHighestTxPower = 20;

bool IsWithin(std::int32_t value, std::int32_t lowest, std::int32_t highest)
{
    return value >= lowest && value <= highest;
}

struct Intervals {
    milliseconds shortest;
    milliseconds longest;
};

/// Nothing if they are invalid.
std::optional<Intervals> IntervalsOf(const StartAdvertiseRequest& request)
{
    const std::int32_t shortest =
        request.params.minInterval != 0 ? request.params.minInterval : kDefaultInterval;
    const std::int32_t longest =
        request.params.maxInterval != 0 ? request.params.maxInterval : shortest;
    if (!IsWithin(shortest, kShortestInterval, kLongestInterval) ||
        !IsWithin(longest, shortest, kLongestInterval)) {
        return std::nullopt;
    }
    return Intervals{milliseconds(shortest), milliseconds(longest)};
}

bool TimesMakeSense(const StartAdvertiseRequest& request)
{
    const std::int32_t total = request.params.sendTotalTime;
    const std::int32_t part = request.params.sendPartTime;
    return total >= 0 && part >= 0 && (total == 0 || total >= part);
}

bool FieldsMakeSense(const StartAdvertiseRequest& request)
{
    return IsWithin(request.params.channelMap, 0, radio::kAllAdvertisingChannels) &&
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
    const auto intervals = IntervalsOf(request);
    if (!intervals || !TimesMakeSense(request) || !FieldsMakeSense(request)) {
        return std::nullopt;
    }
    const std::int32_t channels = request.params.channelMap;
    return radio::Advertising{intervals->shortest,
                              intervals->longest,
                              channels != 0 ? channels : radio::kAllAdvertisingChannels,
                              static_cast<radio::AdvertisementKind>(request.params.advEventType),
                              request.params.txPower,
                              BytesOf(request.advData),
                              BytesOf(request.scanResp)};
}

/// What a program is notified of when advertising has ended by itself.
std::int32_t DisableStatusOf(radio::Outcome why)
{
    return IsAdapterOff(why) ? kBleAdvAdapterOff : kBleAdvRadioFailed;
}

}  // namespace

/// What an advertiser advertises, from a start to its end, including pauses.
class AdvertiserFamily::Broadcast : public radio::AdvertisementObserver {
  public:
    Broadcast(AdvertiserFamily& family, Session& session, const StartAdvertiseRequest& request,
              radio::Advertising advertising)
        : family_(family),
          session_(session),
          id_(request.advertiserId),
          advertising_(std::move(advertising)),
          part_(request.params.sendPartTime),
          total_(request.params.sendTotalTime),
          start_(family.context_.scheduler)
    {}

    /// Starts to advertise. Returns the result of the start.
    Completion<std::int32_t> Begin()
    {
        Turn();
        start_.GiveUpAfter(PatienceOf(protocol::kStartAdvertise),
                           [this] { family_.Silence(session_, id_); });
        return start_.Status();
    }

    /// Ends it, which destroys it. A request that waits for the start gets this status; otherwise
    /// the client is notified.
    void End(std::int32_t status, std::int32_t why)
    {
        const bool wasStarted = !start_.IsUnderWay();
        Session& session = session_;
        const std::int32_t id = id_;
        start_.End(status);
        family_.Silence(session, id);
        if (wasStarted) {
            session.Notify(protocol::kAdvertiseDisabled, {id, why});
        }
    }

    void Started() override
    {
        if (!start_.IsUnderWay()) {
            return;  // only a pause is over
        }
        start_.End(protocol::kStatusDone);
        Scheduler& scheduler = family_.context_.scheduler;
        if (part_ > milliseconds::zero()) {
            partTime_ = scheduler.Every(part_, [this] { Turn(); });
        }
        if (total_ > milliseconds::zero()) {
            totalTime_ =
                scheduler.After(total_, [this] { End(protocol::kStatusDone, kBleAdvTimeOver); });
        }
    }

    void Ended(radio::Outcome why) override { End(StatusOf(why), DisableStatusOf(why)); }

  private:
    /// Changes between advertising and pause.
    void Turn()
    {
        if (onAir_) {
            onAir_.reset();
        } else {
            onAir_ = family_.radio_.Start(advertising_, *this);
        }
    }

    AdvertiserFamily& family_;
    Session& session_;
    std::int32_t id_;
    radio::Advertising advertising_;
    milliseconds part_;
    milliseconds total_;
    Attempt start_;
    std::unique_ptr<radio::Advertisement> onAir_;  // null while it pauses
    Timer partTime_;                               // alternates between advertising and pause
    Timer totalTime_;
};

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
    router.Serve(protocol::kRegisterAdvertiser, std::bind_front(&AdvertiserFamily::Register, this));
    router.Serve(protocol::kUnregisterAdvertiser,
                 std::bind_front(&AdvertiserFamily::Unregister, this));
    router.Serve(protocol::kStartAdvertise, std::bind_front(&AdvertiserFamily::Start, this));
    router.Serve(protocol::kStopAdvertise, std::bind_front(&AdvertiserFamily::Stop, this));
}

AdvertiserFamily::~AdvertiserFamily() = default;

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
    advertisers.emplace(id, nullptr);
    return {id, protocol::kStatusDone};
}

std::int32_t AdvertiserFamily::Unregister(Session& session, const AdvertiserRequest& request)
{
    if (Find(session, request.advertiserId) == nullptr) {
        return protocol::kStatusUnknownId;
    }
    clients_[&session].erase(request.advertiserId);
    return protocol::kStatusDone;
}

std::int32_t AdvertiserFamily::Start(Session& session, const StartAdvertiseRequest& request)
{
    std::unique_ptr<Broadcast>* const advertiser = Find(session, request.advertiserId);
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
    advertiser->reset();
    auto broadcast = std::make_unique<Broadcast>(*this, session, request, *advertising);
    const Completion<std::int32_t> status = broadcast->Begin();
    *advertiser = std::move(broadcast);
    return AwaitStatus(context_.scheduler, session, status, protocol::kStartAdvertise.timeout);
}

std::int32_t AdvertiserFamily::Stop(Session& session, const AdvertiserRequest& request)
{
    std::unique_ptr<Broadcast>* const advertiser = Find(session, request.advertiserId);
    if (advertiser == nullptr) {
        return protocol::kStatusUnknownId;
    }
    advertiser->reset();
    return protocol::kStatusDone;
}

std::unique_ptr<AdvertiserFamily::Broadcast>* AdvertiserFamily::Find(Session& session,
                                                                     std::int32_t id)
{
    const auto client = clients_.find(&session);
    if (client == clients_.end()) {
        return nullptr;
    }
    const auto advertiser = client->second.find(id);
    return advertiser != client->second.end() ? &advertiser->second : nullptr;
}

void AdvertiserFamily::Silence(Session& session, std::int32_t id)
{
    Find(session, id)->reset();
}

void AdvertiserFamily::AdapterWentOff()
{
    for (auto& [session, advertisers] : clients_) {
        for (auto& [id, broadcast] : advertisers) {
            if (broadcast) {
                broadcast->End(protocol::kStatusRadioOff, kBleAdvAdapterOff);
            }
        }
    }
}

void AdvertiserFamily::Repair(Session& session, const protocol::RepairRequest& held)
{
    Advertisers& advertisers = clients_[&session];
    for (const std::int32_t id : held.advertiserIds) {
        // An id that exists already was registered after the restart.
        if (id > 0 && advertisers.size() < kMostAdvertisers && advertisers.try_emplace(id).second) {
            session.Notify(protocol::kAdvertiseDisabled, {id, kBleAdvServiceRestart});
        }
    }
}

void AdvertiserFamily::Describe(json::Output& status) const
{
    std::size_t registered = 0;
    std::size_t active = 0;
    for (const auto& [session, advertisers] : clients_) {
        registered += advertisers.size();
        active += static_cast<std::size_t>(
            std::count_if(advertisers.begin(), advertisers.end(),
                          [](const auto& entry) { return entry.second != nullptr; }));
    }
    status["advertiser"] = {{"advertisers", registered}, {"advertising", active}};
}

}  // namespace pelacon::service
