// Switching Wi-Fi on and off.
#pragma once

#include <service/linux/Loop.h>
#include <service/linux/wifi/NetworkManager.h>
#include <service/linux/wifi/Picture.h>
#include <service/linux/wifi/Rfkill.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace pelacon::service::linux_radios::wifi {

/// Switches with NetworkManager, or with rfkill where there is none. In the loop's thread.
class SwitchControl {
  public:
    using Done = std::function<void(radio::Outcome)>;

    /// How long a switch may take. Programs wait for 5 s.
    static constexpr std::chrono::milliseconds kLimit{4500};

    /// The others outlive this.
    SwitchControl(Loop& loop, NetworkManager& manager, const Rfkill& rfkill);

    /// `done` is called once, later, unless this is destroyed before. The switch is done when a
    /// picture shows it, and all that was sent before has had its effect. It fails if the other
    /// direction is wanted meanwhile.
    void Switch(bool on, Done done);

    /// Wi-Fi is to be off, and may still be on.
    bool IsSwitchingOff() const noexcept { return goal_ == false; }

    /// Called with each picture, after it was reported to others.
    void PictureIs(const Picture& picture);

  private:
    void Begin();
    void Send();
    void Answered(radio::Outcome outcome, std::optional<bool> before);
    void Settle();
    void End(radio::Outcome outcome);

    Loop& loop_;
    NetworkManager& manager_;
    const Rfkill& rfkill_;
    bool isThere_ = false;
    bool isOn_ = false;
    bool isBlocked_ = false;
    std::optional<bool> goal_;
    std::uint64_t attempt_ = 0;  // the answers of earlier ones are too late
    std::optional<bool> sent_;   // the last direction, until a picture shows it
    bool isAccepted_ = false;    // the goal was sent and accepted, or there was nothing to send
    std::vector<Done> waiting_;
    Loop::Timer begin_;
    Loop::Timer limit_;
};

}  // namespace pelacon::service::linux_radios::wifi
