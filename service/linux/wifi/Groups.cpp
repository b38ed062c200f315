#include <service/linux/wifi/Groups.h>
#include <service/linux/wifi/Secrets.h>

#include <algorithm>
#include <utility>

namespace pelacon::service::linux_radios::wifi {

using radio::GroupOutcome;
using radio::Station;

namespace {

constexpr std::size_t kPassPhraseLetters = 16;

/// The access point's, which the card's may not be.
std::uint64_t AddressOf(std::uint64_t card, AccessPointRole role)
{
    constexpr std::uint64_t kLocal = 0x02'00'00'00'00'00;
    const std::uint64_t different = role == AccessPointRole::kGroup ? 1 : 2;
    return card != 0 ? (card | kLocal) ^ different : 0;
}

}  // namespace

Groups::Groups(Host& host, const std::shared_ptr<Gate>& gate, AccessPointRole role)
    : host_(host), role_(role), name_(DrawName(role)), upcalls_(gate, *this)
{}

Groups::Name Groups::DrawName(AccessPointRole role)
{
    constexpr std::size_t kGroupLetters = 2;
    constexpr std::size_t kSoftApLetters = 4;
    const std::string ssid = role == AccessPointRole::kGroup
                                 ? "DIRECT-" + DrawLetters(kGroupLetters) + "-Pelacon"
                                 : "Pelacon-" + DrawLetters(kSoftApLetters);
    return {ssid, DrawLetters(kPassPhraseLetters)};
}

radio::Group Groups::Describe() const
{
    const bool isGroup = role_ == AccessPointRole::kGroup;
    return {name_.ssid, name_.passPhrase, AddressOf(host_.GetPicture().address, role_),
            isGroup ? "192.168.49.1" : "192.168.50.1", channel_};
}

void Groups::Create(std::int32_t channel, Done done)
{
    if (!host_.GetPicture().isOn) {
        done(GroupOutcome::kWifiOff);
    } else if (Exists() || IsCreating()) {
        done(GroupOutcome::kBusy);
    } else {
        created_ = std::move(done);
        TakeNewName();
        plan_ = host_.NextPlan();
        const radio::Group group = Describe();
        const AccessPointPlan plan{
            plan_, 0, group.ssid, group.passPhrase, group.address, group.ipAddress, channel};
        host_.Post([role = role_, plan](Backend& backend) { backend.Make(role, plan); });
    }
}

void Groups::Remove(Done done)
{
    if (Exists() || IsCreating()) {
        removed_.push_back(std::move(done));
        Post(GroupOutcome::kDone);
    } else {
        done(GroupOutcome::kNoGroup);
    }
}

/// Begins to end the access point.
void Groups::Post(GroupOutcome why) const
{
    host_.Post([role = role_, plan = plan_, why](Backend& backend) {
        backend.GetAccessPoint(role).End(plan, why);
    });
}

/// What is given may be guessed from other random numbers of this service.
void Groups::Rename(std::string /*ssid*/, std::string /*passPhrase*/)
{
    newName_ = DrawName(role_);
    if (!Exists() && !IsCreating()) {
        TakeNewName();
    }
}

void Groups::TakeNewName()
{
    if (newName_) {
        name_ = *std::exchange(newName_, std::nullopt);
    }
}

void Groups::Move(std::int32_t channel, Done done)
{
    if (!Exists()) {
        done(GroupOutcome::kNoGroup);
        return;
    }
    host_.Post([role = role_, plan = plan_, channel,
                moved = upcalls_.To([done = std::move(done)](const Groups&, GroupOutcome outcome) {
                    done(outcome);
                })](Backend& backend) { backend.Move(role, plan, channel, moved); });
}

void Groups::Heard(const AccessPointEvent& event)
{
    using Kind = AccessPointEvent::Kind;
    if (event.plan != plan_) {
        return;  // of radios that were there before
    }
    switch (event.kind) {
        case Kind::kMade:
            Made(event);
            break;
        case Kind::kEnded:
            Ended(event.outcome);
            break;
        case Kind::kMoved:
            if (std::exchange(channel_, event.channel) != event.channel) {
                groupObservers_(true, GroupOutcome::kDone);
            }
            break;
        case Kind::kStationJoined:
            stations_.push_back(event.station);
            stationObservers_(event.station, true);
            break;
        case Kind::kStationLeft:
            Left(event.station.address);
            break;
    }
}

void Groups::Made(const AccessPointEvent& event)
{
    if (event.outcome == GroupOutcome::kDone) {
        exists_ = true;
        channel_ = event.channel;
        interface_ = {event.interface, GuidOf(host_.GetPicture().address, event.interface),
                      static_cast<std::int32_t>(event.index)};
    }
    const Done created = std::exchange(created_, nullptr);
    groupObservers_(exists_, event.outcome);
    created(event.outcome);
    if (!exists_) {
        EndRemoval();
    }
}

void Groups::Ended(GroupOutcome why)
{
    while (!stations_.empty()) {
        Left(stations_.back().address);
    }
    exists_ = false;
    channel_ = 0;
    interface_.reset();
    TakeNewName();
    groupObservers_(false, why);
    EndRemoval();
}

void Groups::Left(std::uint64_t station)
{
    if (std::erase_if(stations_, [&](const Station& one) { return one.address == station; }) != 0) {
        stationObservers_({station, {}}, false);
    }
}

void Groups::EndRemoval()
{
    for (const Done& done : std::exchange(removed_, {})) {
        done(GroupOutcome::kDone);
    }
}

void Groups::Release()
{
    if (Exists() || IsCreating()) {
        Post(GroupOutcome::kDone);
    }
}

}  // namespace pelacon::service::linux_radios::wifi
