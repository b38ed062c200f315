#include <service/simulation/Wifi.h>

namespace pelacon::service::simulation {

using radio::Outcome;

void Wifi::Switch(bool on, radio::OutcomeDone done)
{
    if (goal_ != on) {
        EndSwitching(Outcome::kFailed);
        goal_ = on;
        const StackBehaviour behaviour = stack_.Next(StackOperation::kSwitchWifi);
        switching_ = scheduler_.After(config_.switchDelay + behaviour.delay,
                                      [this, on, outcome = behaviour.outcome] {
                                          outcome == Outcome::kDone ? Enter(on) : Refuse(outcome);
                                      });
    }
    if (switching_.IsPending()) {
        done_.push_back(std::move(done));
    } else {
        done(Outcome::kDone);
    }
}

void Wifi::SwitchNow(bool on)
{
    if (on_ == on && goal_ == on) {
        return;
    }
    if (goal_ != on) {
        EndSwitching(Outcome::kFailed);
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
    EndSwitching(Outcome::kDone);
}

void Wifi::Refuse(Outcome why)
{
    goal_ = on_;
    EndSwitching(why);
}

void Wifi::EndSwitching(Outcome outcome)
{
    for (const radio::OutcomeDone& done : std::exchange(done_, {})) {
        done(outcome);
    }
}

}  // namespace pelacon::service::simulation
