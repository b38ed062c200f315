#include <service/linux/wifi/SwitchControl.h>

#include <cerrno>
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
    // What was sent before and does not show yet may still turn it the other way.
    isAccepted_ = isOn_ == *goal_ && !sent_;
    if (!isThere_ || isAccepted_) {
        Settle();
    } else if (*goal_ && isBlocked_) {
        End(Outcome::kBlocked);
    } else {
        Send();
    }
}

void SwitchControl::Send()
{
    if (manager_.IsThere()) {
        manager_.Switch(*goal_, [this, attempt = attempt_, before = sent_](Outcome outcome) {
            if (attempt == attempt_) {
                Answered(outcome, before);
            }
        });
    } else if (const int error = rfkill_.CanSwitch() ? rfkill_.Switch(*goal_) : EACCES) {
        End(error == EPERM || error == EACCES ? Outcome::kNotPermitted : Outcome::kFailed);
        return;
    } else {
        isAccepted_ = true;
    }
    sent_ = goal_;
    limit_ = loop_.After(kLimit, [this] { End(Outcome::kFailed); });
}

/// `before` is what was sent before that, and does not show yet.
void SwitchControl::Answered(Outcome outcome, std::optional<bool> before)
{
    if (outcome == Outcome::kDone) {
        isAccepted_ = true;
        Settle();
    } else {
        sent_ = before;
        End(outcome);
    }
}

void SwitchControl::PictureIs(const Picture& picture)
{
    isThere_ = picture.isThere;
    isOn_ = picture.isOn;
    isBlocked_ = picture.isBlocked;
    if (sent_ == isOn_) {
        sent_.reset();
    }
    Settle();
}

/// Ends the switch if the picture shows its result, or the card is gone.
void SwitchControl::Settle()
{
    if (goal_ && !isThere_) {
        End(Outcome::kNoAdapter);
    } else if (goal_ && isAccepted_ && isOn_ == *goal_) {
        sent_.reset();
        End(Outcome::kDone);
    }
}

void SwitchControl::End(Outcome outcome)
{
    begin_.Cancel();
    limit_.Cancel();
    goal_.reset();
    ++attempt_;
    isAccepted_ = false;
    for (const Done& done : std::exchange(waiting_, {})) {
        done(outcome);
    }
}

}  // namespace pelacon::service::linux_radios::wifi
