// The channels of the soft AP, the machine and the phone.
#include <PelaconSDK/WifiState.h>
#include <service/families/SoftApFamily.h>

#include <chrono>
#include <functional>

namespace pelacon::service {

using protocol::FlagRequest;
using protocol::Int32Record;
using radio::Band;
using radio::BandOf;
using radio::GroupOutcome;

namespace {

/// How long a request waits for the move to another channel; its client waits for 5 s. Radios try
/// a move that fails again for 4 s.
constexpr std::chrono::milliseconds kMovePatience{4500};

std::int32_t FrequenceTypeOf(std::int32_t channel)
{
    switch (BandOf(channel)) {
        case Band::k24GHz:
            return kWifiFrequence24G;
        case Band::k5GHz:
            return kWifiFrequence5G;
        case Band::kNone:
            break;
    }
    return kWifiFrequenceUnknown;
}

/// The band that a request is about.
Band BandIn(const FlagRequest& request)
{
    return request.flag != 0 ? Band::k5GHz : Band::k24GHz;
}

}  // namespace

void SoftApFamily::ServePhone(Router& router)
{
    router.Serve(protocol::kSetPhoneCurrentChannel, [this](const Int32Record& request) {
        phone_.connectionChannel = BandOf(request.value) == Band::kNone ? 0 : request.value;
        return Acknowledgement();
    });
    router.Serve(protocol::kGetRecordPhoneChannel, [this] { return phone_.connectionChannel; });
    router.Serve(protocol::kAddPhoneSupportChannel, [this](const Int32Record& request) {
        phone_.Add(Band::k5GHz, request.value);
        return Acknowledgement();
    });
    router.Serve(protocol::kAddPhoneSupport24Channel, [this](const Int32Record& request) {
        phone_.Add(Band::k24GHz, request.value);
        return Acknowledgement();
    });
    router.Serve(protocol::kRemovePhoneSupportChannels, [this] {
        phone_.channels24GHz.clear();
        phone_.channels5GHz.clear();
        avoid5GHz_ = false;
        return Acknowledgement();
    });
    router.Serve(protocol::kGetRecordPhoneChannelList,
                 [this] { return ChannelText(phone_.channels5GHz); });
    router.Serve(protocol::kGetRecordPhone24GChannelList,
                 [this] { return ChannelText(phone_.channels24GHz); });
    router.Serve(protocol::kGetPhoneChannelList, [this] {
        std::vector<std::int32_t> all = phone_.channels24GHz;
        all.insert(all.end(), phone_.channels5GHz.begin(), phone_.channels5GHz.end());
        return ChannelText(all);
    });
}

void SoftApFamily::ServeChannels(Router& router)
{
    router.Serve(protocol::kGetPCChannelList, std::bind_front(&SoftApFamily::PcChannels, this));
    router.Serve(protocol::kGetPCSupportChannelList,
                 std::bind_front(&SoftApFamily::PcChannels, this));
    router.Serve(protocol::kGetSoftAPChannel,
                 [this] { return static_cast<std::uint8_t>(Channel()); });
    router.Serve(protocol::kSystemRefreshSoftAPChannel,
                 [this](Session& session) -> std::optional<std::uint8_t> {
                     const auto channel = MoveTo(session, BandOf(Channel()));
                     return channel ? std::optional(static_cast<std::uint8_t>(*channel))
                                    : std::nullopt;
                 });
    router.Serve(protocol::kRepickChannelWithoutEffect,
                 [this](const FlagRequest& request) { return ChannelFor(BandIn(request)); });
    router.Serve(protocol::kSetAPFrequence, [this](Session& session, const FlagRequest& request) {
        const Band band = BandIn(request);
        missed5GHz_ = band == Band::k5GHz && ChannelFor(band) == 0;
        return MoveTo(session, band);
    });
    router.Serve(protocol::kCheckIsSet5GFailed, [this](Session& session) {
        if (missed5GHz_) {
            missed5GHz_ = false;
            avoid5GHz_ = true;
            MoveTo(session, Band::k24GHz);
        }
        return Acknowledgement();
    });
    router.Serve(protocol::kGetFrequenceType,
                 [](const Int32Record& request) { return FrequenceTypeOf(request.value); });
    router.Serve(protocol::kIs5GChannel,
                 [](const Int32Record& request) { return BandOf(request.value) == Band::k5GHz; });
    router.Serve(protocol::kIs24GChannel,
                 [](const Int32Record& request) { return BandOf(request.value) == Band::k24GHz; });
    router.Serve(protocol::kGetFrequencyFromChannel,
                 [](const Int32Record& request) { return radio::FrequencyOf(request.value); });
}

/// The best channel of this band, or of any; 0 if there is none. After a failure on the 5 GHz band,
/// that band is not chosen for a request for any band.
std::int32_t SoftApFamily::ChannelFor(Band band) const
{
    if (band == Band::kNone && avoid5GHz_) {
        if (const std::int32_t channel = MeetingChannel(wifi_, phone_, Band::k24GHz)) {
            return channel;
        }
    }
    return MeetingChannel(wifi_, phone_, band);
}

/// Moves the soft AP to a channel of the band, if there is one, and waits until it has moved.
/// Returns its channel afterwards; nothing if the client has left or the service ends, since the
/// family may be destroyed then.
std::optional<std::int32_t> SoftApFamily::MoveTo(Session& session, Band band)
{
    const std::int32_t channel = ChannelFor(band);
    if (channel != 0) {
        const Scheduler& scheduler = scheduler_;
        const Completion<GroupOutcome> moved(scheduler_);
        ap_.Move(channel, [moved](GroupOutcome outcome) { moved.Set(outcome); });
        const bool isAnswered = session.Await(moved, kMovePatience).has_value();
        if (!isAnswered && (!session.IsPresent() || scheduler.IsStopping())) {
            return std::nullopt;
        }
    }
    return Channel();
}

protocol::PcChannelsReply SoftApFamily::PcChannels() const
{
    std::vector<std::int32_t> low;
    std::vector<std::int32_t> high;
    for (const radio::Wifi::Channel& channel : wifi_.Channels()) {
        (BandOf(channel.number) == Band::k5GHz ? high : low).push_back(channel.number);
    }
    protocol::PcChannelsReply reply{};
    PutText(reply.first, ChannelText(low));
    PutText(reply.second, ChannelText(high));
    const auto connection = wifi_.CurrentConnection();
    reply.value = connection ? connection->channel : 0;
    return reply;
}

}  // namespace pelacon::service
