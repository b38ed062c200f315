#include <service/linux/wifi/SwitchControl.h>

#include <utility>

namespace pelacon::service::linux_radios::wifi {

using radio::Outcome;

SwitchControl::SwitchControl(Loop& loop, NetworkManager& manager, const Rfkill& rfkill)
    : loop_(loop), manager_(manager), rfkill_(rfkill)
{}

void SwitchControl::Switch(bool on, Done done)
{
    if (goal_ && *goal_ != on) {
        End(Outcome::kFailed);
    }
    waiting_.push_back(std::move(done));
    if (goal_ != on) {
        goal_ = on;
        begin_ = loop_.After(Loop::Duration::zero(), [this] { Begin(); });
    }
}

void SwitchControl::Begin()
{
    if (!isThere_ || isOn_ == *goal_) {
        Settle();
    } else if (*goal_ && isBlocked_) {
        End(Outcome::kBlocked);
    } else if (manager_.IsThere()) {
        limit_ = loop_.After(kLimit, [this] { End(Outcome::kFailed); });
        manager_.Switch(*goal_, [this, goal = *goal_](Outcome outcome) {
            if (outcome != Outcome::kDone && goal_ == goal) {
                End(outcome);
            }
        });
    } else if (!rfkill_.CanSwitch() || !rfkill_.Switch(*goal_)) {
        End(Outcome::kNotPermitted);
    } else {
        limit_ = loop_.After(kLimit, [this] { End(Outcome::kFailed); });
    }
}

void SwitchControl::PictureIs(const Picture& picture)
{
    isThere_ = picture.isThere;
    isOn_ = picture.isOn;
    isBlocked_ = picture.isBlocked;
    Settle();
}

/// Ends what shows, or cannot any more.
void SwitchControl::Settle()
{
    if (goal_ && !isThere_) {
        End(Outcome::kNoAdapter);
    } else if (goal_ && isOn_ == *goal_) {
        End(Outcome::kDone);
    }
}

void SwitchControl::End(Outcome outcome)
{
    begin_.Cancel();
    limit_.Cancel();
    goal_.reset();
    for (const Done& done : std::exchange(waiting_, {})) {
        done(outcome);
    }
}

}  // namespace pelacon::service::linux_radios::wifi
