#include <service/linux/wifi/Wifi.h>

#include <utility>

namespace pelacon::service::linux_radios::wifi {

void Wifi::Switch(bool on, radio::OutcomeDone done)
{
    host_.Post(
        [on, switched = upcalls_.To([done = std::move(done)](const Wifi&, radio::Outcome outcome) {
            done(outcome);
        })](Backend& backend) { backend.Switch(on, switched); });
}

void Wifi::PictureChanged(const Picture& before)
{
    if (before.isOn != IsOn()) {
        switchObservers_(IsOn());
    }
}

}  // namespace pelacon::service::linux_radios::wifi
