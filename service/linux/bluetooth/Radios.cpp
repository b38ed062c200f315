#include <service/linux/bluetooth/Radios.h>

#include <utility>

namespace pelacon::service::linux_radios::bluetooth {

void Radios::Release()
{
    // Afterwards the host may have another observer.
    if (!std::exchange(isReleased_, true)) {
        scanner_.Release();
        advertiser_.Release();
        gate_->Close();
        host_.SetObserver(nullptr);
    }
}

}  // namespace pelacon::service::linux_radios::bluetooth
