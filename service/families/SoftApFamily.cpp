#include <protocol/ServiceStatus.h>
#include <service/families/RadioWait.h>
#include <service/families/SoftApFamily.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <utility>

namespace pelacon::service {

using namespace std::chrono_literals;
using protocol::FlagRequest;
using protocol::SoftApInfoMessage;
using radio::Band;
using radio::GroupOutcome;

namespace {

constexpr auto kAdapterRestart = 100ms;
constexpr std::size_t kMostProductTypes = 64;
constexpr std::size_t kLongestProductType = 64;

/// The result for an outcome: the service's statuses except one.
std::int32_t ResultOf(GroupOutcome outcome)
{
    return outcome == GroupOutcome::kBusy ? +radio::Errors::kGroupExists : +StatusOf(outcome);
}

/// The elements of a text in which each is followed by a comma.
std::vector<std::string> SplitTypes(std::string_view text)
{
    std::vector<std::string> types;
    for (std::size_t comma = text.find(','); comma != std::string_view::npos;
         comma = text.find(',')) {
        types.emplace_back(text.substr(0, comma));
        text.remove_prefix(comma + 1);
    }
    return types;
}

}  // namespace

SoftApFamily::SoftApFamily(const Context& context)
    : scheduler_(context.scheduler),
      wifi_(context.radios.GetWifi()),
      ap_(context.radios.GetSoftAp())
{
    radio::Phone& phone = context.radios.GetPhone();
    phone_.model = phone.Model();
    phone_.connectionChannel = phone.ConnectionChannel();
    for (const std::int32_t channel : phone.Channels()) {
        phone_.Add(radio::BandOf(channel), channel);
    }
    phone.Observe([this](std::int32_t channel) { phone_.connectionChannel = channel; });
    ap_.ObserveGroup([this](bool /*exists*/, GroupOutcome /*reason*/) { NotifyAdvertisement(); });
    ap_.ObserveStations(
        [this](const radio::Station& /*station*/, bool joined) { NotifyStation(joined); });
    ServeLife(context.router);
    ServeQuestions(context.router);
    ServeAdapter(context.router);
    ServeDevices(context.router);
    ServePhone(context.router);
    ServeChannels(context.router);
}

void SoftApFamily::ServeLife(Router& router)
{
    router.Serve(protocol::kSystemCreateSoftAP, std::bind_front(&SoftApFamily::Create, this));
    router.Serve(protocol::kSystemDestroySoftAP, std::bind_front(&SoftApFamily::Destroy, this));
    router.Serve(protocol::kChangeSSIDAndPasswd, [this] {
        DrawName();
        return Acknowledgement();
    });
    router.Serve(protocol::kRegistSoftApConnectStatus, [this](Session& session) {
        connectionListeners_.insert(&session);
        return Acknowledgement();
    });
    router.Serve(protocol::kRegisterSoftApNotification, [this](Session& session) {
        listeners_.insert(&session);
        return protocol::kStatusDone;
    });
    // The client may have other objects registered: it is still notified of the soft AP.
    router.Serve(protocol::kUnRegisterSoftApNotification, [] { return protocol::kStatusDone; });
}

void SoftApFamily::ServeQuestions(Router& router)
{
    router.Serve(protocol::kCheckMySoftAPExist, [this] { return ap_.Exists(); });
    router.Serve(protocol::kGetSSID, [this] { return ap_.Describe().ssid; });
    router.Serve(protocol::kGetLegacyAPIP,
                 [this] { return ap_.Exists() ? ap_.Describe().ipAddress : std::string(); });
    router.Serve(protocol::kGetSoftApError, [this] { return lastError_; });
    router.Serve(protocol::kIsAPConnected, [this] {
        protocol::ApConnectedReply reply{};
        if (const auto connection = wifi_.CurrentConnection()) {
            reply.value = connection->channel;
            PutText(reply.text, connection->ssid);
            reply.connected = 1;
        }
        return reply;
    });
}

void SoftApFamily::ServeAdapter(Router& router)
{
    router.Serve(protocol::kRestartWiFiDirectVirtualAdapter,
                 std::bind_front(&SoftApFamily::RestartAdapter, this));
    router.Serve(protocol::kGetRestartCount, [this] { return restarts_; });
    router.Serve(protocol::kGetWakeUpRestartCount, [this] { return wakeUpRestarts_; });
    router.Serve(protocol::kResetWakeUpCount, [this] {
        wakeUpRestarts_ = 0;
        return Acknowledgement();
    });
    router.Serve(protocol::kGetAdapterIndex, [this] {
        const auto interface = ap_.NetworkInterface();
        return interface ? interface->index : 0;
    });
    router.Serve(protocol::kGetAdapterGuid, [this] {
        const auto interface = ap_.NetworkInterface();
        return interface ? interface->guid : std::string();
    });
}

void SoftApFamily::ServeDevices(Router& router)
{
    router.Serve(protocol::kSetPairDeviceModelName, [this](std::string_view name) {
        phone_.model = name.substr(0, PairedPhone::kLongestModel);
        return true;
    });
    router.Serve(protocol::kGetPairDeviceModelName, [this] {
        protocol::ModelNameReply reply{};
        PutText(reply.name, phone_.model);
        reply.result = phone_.model.empty() ? 0 : 1;
        return reply;
    });
    router.Serve(protocol::kSetListProductType, [this](ByteView text) {
        std::vector<std::string> types = SplitTypes(TextIn(text));
        const bool fit = types.size() <= kMostProductTypes &&
                         std::ranges::all_of(types, [](const std::string& type) {
                             return type.size() <= kLongestProductType;
                         });
        if (fit) {
            productTypes_ = std::move(types);
        }
        return fit;
    });
    router.Serve(protocol::kGetRestartMobileHotpotFlag, [this] { return restartHotspot_; });
    router.Serve(protocol::kSetRestartMobileHotpotFlag, [this](const FlagRequest& request) {
        restartHotspot_ = request.flag != 0;
        return Acknowledgement();
    });
}

// Every client is notified of connections, as it may have registered for them while there was no
// service: its library keeps the registered object even if the request was not answered. A
// returning client is also notified of the present state. It ignores what it has no object for.
void SoftApFamily::ClientArrived(Session& session, bool returning)
{
    clients_.insert(&session);
    if (!returning) {
        return;
    }
    listeners_.insert(&session);
    session.Notify(
        protocol::kSoftApAdvertisement,
        Advertisement(Channel() != 0 ? kSoftApAdvertisementStarted : kSoftApAdvertisementStopped));
    const std::size_t devices = ap_.Stations().size();
    for (std::size_t device = 0; device < devices; ++device) {
        session.Notify(protocol::kSoftApDeviceConnection, {1});
    }
    if (devices == 0) {
        session.Notify(protocol::kSoftApDeviceConnection, {0});
    }
    session.Notify(protocol::kSoftApConnectStatus, {devices == 0 ? 0 : 1});
}

void SoftApFamily::ClientLeft(Session& session)
{
    clients_.erase(&session);
    connectionListeners_.erase(&session);
    listeners_.erase(&session);
}

/// Records the outcome as the last result as soon as the radio reports it. The handler continues
/// only later, when other clients may have read the result already, and not at all if its client
/// has left.
radio::Groups::Done SoftApFamily::Noting(radio::Groups::Done done)
{
    return [this, done = std::move(done)](GroupOutcome outcome) {
        lastError_ = ResultOf(outcome);
        done(outcome);
    };
}

std::optional<SoftApInfoMessage> SoftApFamily::Create(Session& session,
                                                      const SoftApInfoMessage& request)
{
    const auto band = static_cast<Band>(request.requestByte);
    const std::int32_t channel = ChannelFor(band);
    missed5GHz_ = band == Band::k5GHz && channel == 0;
    if (channel == 0) {
        lastError_ = protocol::kStatusNotSupported;
        return Info(lastError_);
    }
    const auto outcome = AwaitGroup(scheduler_, session, [&](radio::Groups::Done done) {
        ap_.Create(channel, [this, purpose = request.requestInt,
                             done = Noting(std::move(done))](GroupOutcome made) {
            if (made == GroupOutcome::kDone) {
                purpose_ = purpose;
            }
            done(made);
        });
    });
    if (!outcome) {
        return std::nullopt;
    }
    if (*outcome == GroupOutcome::kAborted) {
        SoftApInfoMessage reply{};
        reply.errorCode = ResultOf(*outcome);
        return reply;
    }
    return Info(ResultOf(*outcome));
}

std::optional<std::int32_t> SoftApFamily::Destroy(Session& session,
                                                  const protocol::Int32Record& request)
{
    const std::int32_t purpose = request.value;
    if (ap_.Exists() && purpose != kGoPurposeAny && purpose_ != kGoPurposeAny &&
        purpose != purpose_) {
        lastError_ = protocol::kStatusBusy;
        return lastError_;
    }
    const auto outcome = AwaitGroup(scheduler_, session, [&](radio::Groups::Done done) {
        ap_.Remove(Noting(std::move(done)));
    });
    return outcome ? std::optional(ResultOf(*outcome)) : std::nullopt;
}

std::optional<bool> SoftApFamily::RestartAdapter(Session& session, const FlagRequest& afterWakeUp)
{
    if (!wifi_.IsOn()) {
        return false;
    }
    const Scheduler& scheduler = scheduler_;
    const auto removed = AwaitGroup(scheduler_, session,
                                    [&](radio::Groups::Done done) { ap_.Remove(std::move(done)); });
    if (!removed || *removed == GroupOutcome::kAborted || !session.WaitFor(kAdapterRestart)) {
        return scheduler.IsStopping() ? std::optional(false) : std::nullopt;
    }
    ++restarts_;
    wakeUpRestarts_ += afterWakeUp.flag != 0 ? 1 : 0;
    return true;
}

SoftApInfoMessage SoftApFamily::Info(std::int32_t errorCode) const
{
    const radio::Group ap = ap_.Describe();
    SoftApInfoMessage info{};
    PutText(info.ssid, ap.ssid);
    PutText(info.password, ap.passPhrase);
    PutAddress(info.mac, ap.address);
    info.apByte1 = static_cast<std::uint8_t>(ap.channel);
    PutText(info.ipAddress, ap.ipAddress);
    info.apByte2 = static_cast<std::uint8_t>(radio::BandOf(ap.channel));
    info.errorCode = errorCode;
    return info;
}

void SoftApFamily::DrawName()
{
    // Without letters and digits that look alike.
    constexpr std::string_view kLetters = "abcdefghijkmnpqrstuvwxyz23456789";
    constexpr int kNameLetters = 4;
    constexpr int kPassPhraseLetters = 12;
    const auto draw = [&](int count) {
        std::string text;
        while (count-- > 0) {
            text += kLetters[scheduler_.GetRandom().Next() % kLetters.size()];
        }
        return text;
    };
    const std::string ssid = "Pelacon-" + draw(kNameLetters);
    ap_.Rename(ssid, draw(kPassPhraseLetters));
}

protocol::SoftApAdvertisement SoftApFamily::Advertisement(std::uint32_t status) const
{
    protocol::SoftApAdvertisement advertisement{};
    advertisement.status = status;
    if (status != kSoftApAdvertisementStopped) {
        advertisement.channel = Channel();
        PutText(advertisement.ssid, ap_.Describe().ssid);
    }
    return advertisement;
}

void SoftApFamily::NotifyAdvertisement()
{
    const std::int32_t channel = Channel();
    const std::int32_t before = std::exchange(advertisedChannel_, channel);
    if (channel == before) {
        return;
    }
    const protocol::SoftApAdvertisement advertisement =
        Advertisement(channel == 0  ? kSoftApAdvertisementStopped
                      : before == 0 ? kSoftApAdvertisementStarted
                                    : kSoftApAdvertisementMoved);
    NotifyAll(listeners_, protocol::kSoftApAdvertisement, advertisement);
}

void SoftApFamily::NotifyStation(bool joined)
{
    NotifyAll(listeners_, protocol::kSoftApDeviceConnection, {joined ? 1 : 0});
    const bool first = joined && ap_.Stations().size() == 1;
    const bool last = !joined && ap_.Stations().empty();
    if (first || last) {
        NotifyAll(clients_, protocol::kSoftApConnectStatus, {first ? 1 : 0});
    }
}

void SoftApFamily::Describe(json::Output& status) const
{
    status["softAp"] = {
        {"exists", ap_.Exists()},
        {"beingMade", ap_.IsCreating()},
        {"ssid", ap_.Describe().ssid},
        {"channel", Channel()},
        {"stations", ap_.Stations().size()},
        {"lastError", lastError_},
        {"restarts", restarts_},
        {"listeners", listeners_.size()},
        {"connectionListeners", connectionListeners_.size()},
    };
    status["phone"] = {
        {"model", phone_.model},
        {"connectionChannel", phone_.connectionChannel},
        {"channels24GHz", json::ListOf(phone_.channels24GHz)},
        {"channels5GHz", json::ListOf(phone_.channels5GHz)},
    };
}

}  // namespace pelacon::service
