// Switching Wi-Fi on and off.
#pragma once

#include <service/linux/Loop.h>
#include <service/linux/wifi/NetworkManager.h>
#include <service/linux/wifi/Picture.h>
#include <service/linux/wifi/Rfkill.h>

#include <chrono>
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

    /// `done` is called once, later, unless this is destroyed before: when a picture shows it, or
    /// when it fails, also because the other direction is wanted meanwhile.
    void Switch(bool on, Done done);

    /// Called with each picture, after it was reported to others.
    void PictureIs(const Picture& picture);

  private:
    void Begin();
    void Settle();
    void End(radio::Outcome outcome);

    Loop& loop_;
    NetworkManager& manager_;
    const Rfkill& rfkill_;
    bool isThere_ = false;
    bool isOn_ = false;
    bool isBlocked_ = false;
    std::optional<bool> goal_;
    std::vector<Done> waiting_;
    Loop::Timer begin_;
    Loop::Timer limit_;
};

}  // namespace pelacon::service::linux_radios::wifi
