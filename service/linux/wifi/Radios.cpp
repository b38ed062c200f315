#include <service/linux/wifi/Radios.h>

#include <utility>

namespace pelacon::service::linux_radios::wifi {

void Radios::PictureChanged(const Picture& before)
{
    wifi_.PictureChanged(before);
    cards_.PictureChanged();
}

void Radios::AccessPointHeard(AccessPointRole role, const AccessPointEvent& event)
{
    (role == AccessPointRole::kGroup ? groups_ : softAp_).Heard(event);
}

void Radios::Release()
{
    // Afterwards the host may have another observer.
    if (!std::exchange(isReleased_, true)) {
        groups_.Release();
        softAp_.Release();
        gate_->Close();
        host_.SetObserver(nullptr);
    }
}

}  // namespace pelacon::service::linux_radios::wifi
