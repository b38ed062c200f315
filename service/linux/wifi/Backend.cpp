#include <service/base/Log.h>
#include <service/linux/wifi/Backend.h>

#include <filesystem>
#include <system_error>
#include <utility>
#include <vector>

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

/// Of a service that was killed. Its programs ended with it.
void Backend::RemoveLeftovers()
{
    const AccessPointAccess& access = access_.accessPoints;
    std::vector<std::uint32_t> indexes;
    for (const std::string& interface : AccessPointFiles::FoldersIn(access.folder)) {
        if (const std::uint32_t index = access.indexOf(interface)) {
            indexes.push_back(index);
            log::Info("removing ", interface, ", which an earlier service has left");
        }
    }
    std::error_code ignored;
    std::filesystem::remove_all(access.folder, ignored);
    if (!indexes.empty()) {
        try {
            leftovers_.emplace(loop_, access_.netlink, indexes);
        } catch (const std::system_error& error) {
            log::Warning("they cannot be removed: ", error.what());
        }
    }
}

void Backend::Make(AccessPointRole role, AccessPointPlan plan)
{
    plan.card = picture_ ? picture_->card : 0;
    const Admission admission = AdmissionOn(plan.channel, GetAccessPoint(role));
    if (admission == Admission::kYes) {
        GetAccessPoint(role).Make(std::move(plan));
        return;
    }
    const bool isOnOther = admission == Admission::kOnOtherChannels;
    log::Info("access point: refused, as the card's network ",
              isOnOther ? "is on another channel" : "leaves no room for it");
    AccessPointEvent event;
    event.plan = plan.id;
    event.outcome = isOnOther ? radio::GroupOutcome::kFailed : radio::GroupOutcome::kBusy;
    callbacks_.accessPointHeard(role, event);
}

void Backend::Move(AccessPointRole role, std::uint64_t plan, std::int32_t channel,
                   AccessPoint::Moved done)
{
    AccessPoint& accessPoint = GetAccessPoint(role);
    if (AdmissionOn(channel, accessPoint) == Admission::kYes) {
        accessPoint.Move(plan, channel, std::move(done));
    } else {
        done(radio::GroupOutcome::kFailed);
    }
}

Admission Backend::AdmissionOn(std::int32_t channel, const AccessPoint& accessPoint) const
{
    const auto card = picture_ ? kernel_.AllCards().find(picture_->card) : kernel_.AllCards().end();
    return card != kernel_.AllCards().end()
               ? AdmissionOf(card->second, kernel_.AllInterfaces(),
                             static_cast<std::uint32_t>(radio::FrequencyOf(channel)),
                             accessPoint.InterfaceIndex())
               : Admission::kYes;
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
