#include <service/base/Log.h>
#include <service/linux/wifi/Backend.h>

#include <filesystem>
#include <system_error>
#include <utility>

namespace pelacon::service::linux_radios::wifi {

Backend::Backend(Loop& loop, const std::string& interface, Callbacks callbacks, KernelAccess access)
    : loop_(loop),
      access_(std::move(access)),
      callbacks_(std::move(callbacks)),
      rfkill_(loop, access_.openRfkill(), [this] { LookSoon(); }),
      manager_(loop, [this] { LookSoon(); }),
      kernel_(loop, access_.netlink, [this] { KernelChanged(); }),
      maker_(kernel_, rfkill_, manager_, interface, access_.addressOf),
      switch_(loop, manager_, rfkill_),
      group_(loop, access_.netlink, access_.accessPoints,
             [this](const AccessPointEvent& event) {
                 callbacks_.accessPointHeard(AccessPointRole::kGroup, event);
             }),
      softAp_(loop, access_.netlink, access_.accessPoints, [this](const AccessPointEvent& event) {
          callbacks_.accessPointHeard(AccessPointRole::kSoftAp, event);
      })
{
    RemoveLeftovers();
    manager_.Start();
}

/// Of a service that was killed. The kernel has removed its interfaces and ended its programs, and
/// leaves their files.
void Backend::RemoveLeftovers() const
{
    std::error_code error;
    if (std::filesystem::remove_all(access_.accessPoints.folder, error) != 0 && !error) {
        log::Info("removed the files of access points that an earlier service has left");
    }
}

void Backend::Make(AccessPointRole role, AccessPointPlan plan)
{
    using radio::GroupOutcome;
    if (!picture_ || !picture_->isOn || switch_.IsSwitchingOff()) {
        Refuse(role, plan.id, GroupOutcome::kWifiOff);
        return;
    }
    plan.card = picture_->card;
    switch (AdmissionOf(role, plan.channel)) {
        case Admission::kYes:
            GetAccessPoint(role).Make(std::move(plan));
            break;
        case Admission::kOnOtherChannels:
            log::Info("access point: refused, as the card's network is on another channel");
            Refuse(role, plan.id, GroupOutcome::kFailed);
            break;
        case Admission::kNo:
            log::Info("access point: refused, as the card's network leaves no room for it");
            Refuse(role, plan.id, GroupOutcome::kBusy);
            break;
    }
}

void Backend::Refuse(AccessPointRole role, std::uint64_t plan, radio::GroupOutcome outcome) const
{
    AccessPointEvent event;
    event.plan = plan;
    event.outcome = outcome;
    callbacks_.accessPointHeard(role, event);
}

void Backend::Move(AccessPointRole role, std::uint64_t plan, std::int32_t channel,
                   AccessPoint::Moved done)
{
    if (AdmissionOf(role, channel) == Admission::kYes) {
        GetAccessPoint(role).Move(plan, channel, std::move(done));
    } else {
        done(radio::GroupOutcome::kFailed);
    }
}

Admission Backend::AdmissionOf(AccessPointRole role, std::int32_t channel) const
{
    const auto card = picture_ ? kernel_.AllCards().find(picture_->card) : kernel_.AllCards().end();
    return card != kernel_.AllCards().end()
               ? wifi::AdmissionOf(card->second, InterfacesBeside(role),
                                   static_cast<std::uint32_t>(radio::FrequencyOf(channel)))
               : Admission::kYes;
}

/// Those that there are beside the role's own. The mirror may still have one that is gone, and does
/// not have the channel of an access point that is being made.
KernelMirror::Interfaces Backend::InterfacesBeside(AccessPointRole role) const
{
    const bool isGroup = role == AccessPointRole::kGroup;
    const AccessPoint& own = isGroup ? group_ : softAp_;
    const AccessPoint& other = isGroup ? softAp_ : group_;
    KernelMirror::Interfaces interfaces = kernel_.AllInterfaces();
    std::erase_if(interfaces, [&](const auto& one) {
        const auto& [index, interface] = one;
        return index == own.InterfaceIndex() || index == other.InterfaceIndex() ||
               access_.accessPoints.indexOf(interface.name) != index;
    });
    if (const std::int32_t channel = other.Channel()) {
        CardInterface& planned = interfaces[other.InterfaceIndex()];
        planned.card = picture_->card;
        planned.kind = static_cast<std::uint32_t>(InterfaceKind::kAccessPoint);
        planned.frequency = static_cast<std::uint32_t>(radio::FrequencyOf(channel));
    }
    return interfaces;
}

/// The switches may have come with the first card.
void Backend::KernelChanged()
{
    if (!rfkill_.IsThere() && !kernel_.AllCards().empty()) {
        rfkill_.Open(access_.openRfkill());
    }
    LookSoon();
}

/// Once for all changes that come together.
void Backend::LookSoon()
{
    if (!look_.IsPending()) {
        look_ = loop_.After(Loop::Duration::zero(), [this] { Look(); });
    }
}

/// Reports what has changed, once everything is known.
void Backend::Look()
{
    if (!kernel_.IsKnown() || !manager_.IsKnown()) {
        return;
    }
    Picture picture = maker_.Make();
    if (picture != picture_) {
        picture_ = std::move(picture);
        callbacks_.pictureChanged(*picture_);
        if (!picture_->isOn) {
            group_.EndAny(radio::GroupOutcome::kWifiOff);
            softAp_.EndAny(radio::GroupOutcome::kWifiOff);
        }
        switch_.PictureIs(*picture_);
    }
    const BackendStatus status = StatusOf(*picture_);
    if (status != status_) {
        status_ = status;
        callbacks_.changed(*status_);
    }
}

BackendStatus Backend::StatusOf(const Picture& picture) const
{
    using Manager = BackendStatus::Manager;
    BackendStatus status;
    status.isThere = picture.isThere;
    status.adapter = picture.interface;
    status.manager = manager_.IsThere()         ? Manager::kNetworkManager
                     : manager_.HasSupplicant() ? Manager::kSupplicant
                                                : Manager::kNone;
    status.version = manager_.Version();
    // NetworkManager permits it by polkit's rules, which are known when it is asked for.
    status.canSwitch = manager_.IsThere() || rfkill_.CanSwitch();
    return status;
}

}  // namespace pelacon::service::linux_radios::wifi
