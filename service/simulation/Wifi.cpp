#include <service/simulation/Wifi.h>

namespace pelacon::service::simulation {

void Wifi::Switch(bool on, SwitchDone done)
{
    if (goal_ != on) {
        EndSwitching(false);
        goal_ = on;
        switching_ = scheduler_.After(config_.switchDelay, [this, on] { Enter(on); });
    }
    if (switching_.IsPending()) {
        done_.push_back(std::move(done));
    } else {
        done(true);
    }
}

void Wifi::SwitchNow(bool on)
{
    if (on_ == on && goal_ == on) {
        return;
    }
    if (goal_ != on) {
        EndSwitching(false);
        goal_ = on;
    }
    switching_.Cancel();
    Enter(on);
}

void Wifi::Enter(bool on)
{
    if (std::exchange(on_, on) != on) {
        switchObservers_(on);
    }
    EndSwitching(true);
}

void Wifi::EndSwitching(bool reached)
{
    for (const SwitchDone& done : std::exchange(done_, {})) {
        done(reached);
    }
}

}  // namespace pelacon::service::simulation
