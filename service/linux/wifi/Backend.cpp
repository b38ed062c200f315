#include <service/linux/wifi/Backend.h>

#include <utility>

namespace pelacon::service::linux_radios::wifi {

Backend::Backend(Loop& loop, const std::string& interface, Callbacks callbacks,
                 const KernelAccess& kernel)
    : loop_(loop),
      callbacks_(std::move(callbacks)),
      rfkill_(loop, kernel.openRfkill(), [this] { LookSoon(); }),
      manager_(loop, [this] { LookSoon(); }),
      kernel_(loop, kernel.netlink, [this] { LookSoon(); }),
      maker_(kernel_, rfkill_, manager_, interface, kernel.addressOf),
      switch_(loop, manager_, rfkill_)
{
    manager_.Start();
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
