// All that speaks with the system about Wi-Fi.
#pragma once

#include <service/linux/wifi/AccessPoint.h>
#include <service/linux/wifi/Admission.h>
#include <service/linux/wifi/KernelMirror.h>
#include <service/linux/wifi/NetworkManager.h>
#include <service/linux/wifi/Picture.h>
#include <service/linux/wifi/Rfkill.h>
#include <service/linux/wifi/SwitchControl.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace pelacon::service::linux_radios::wifi {

/// How the backend reaches the kernel. The members are replaced in tests.
struct KernelAccess {
    NetlinkAccess netlink;
    std::function<RfkillAccess()> openRfkill = &OpenRfkill;
    PictureMaker::AddressOf addressOf = &PermanentAddressOf;
    AccessPointAccess accessPoints;
};

enum class AccessPointRole : std::uint8_t { kGroup, kSoftAp };

/// What is there, and in which way it is used.
struct BackendStatus {
    /// What connects the machine to networks.
    enum class Manager : std::uint8_t { kNone, kSupplicant, kNetworkManager };

    bool isThere = false;
    std::string adapter;  ///< "wlan0"
    Manager manager = Manager::kNone;
    std::string version;  ///< of NetworkManager
    bool canSwitch = false;

    bool operator==(const BackendStatus&) const = default;
};

/// In the loop's thread.
class Backend {
  public:
    struct Callbacks {
        std::function<void(const BackendStatus&)> changed;   ///< called with each other status
        std::function<void(const Picture&)> pictureChanged;  ///< before that, with each picture
        std::function<void(AccessPointRole, const AccessPointEvent&)> accessPointHeard;
    };

    /// The adapter that has the interface ("wlan1"), or the first one if the name is empty. Begins
    /// to look for it.
    Backend(Loop& loop, const std::string& interface, Callbacks callbacks,
            KernelAccess access = {});

    Backend(const Backend&) = delete;
    Backend& operator=(const Backend&) = delete;

    /// As SwitchControl has it.
    void Switch(bool on, SwitchControl::Done done) { switch_.Switch(on, std::move(done)); }

    /// Begins to make an access point, with the adapter's card.
    void Make(AccessPointRole role, AccessPointPlan plan);

    /// As AccessPoint has it.
    void Move(AccessPointRole role, std::uint64_t plan, std::int32_t channel,
              AccessPoint::Moved done);

    AccessPoint& GetAccessPoint(AccessPointRole role)
    {
        return role == AccessPointRole::kGroup ? group_ : softAp_;
    }

  private:
    void RemoveLeftovers() const;
    void KernelChanged();
    Admission AdmissionOf(AccessPointRole role, std::int32_t channel) const;
    KernelMirror::Interfaces InterfacesBeside(AccessPointRole role) const;
    void Refuse(AccessPointRole role, std::uint64_t plan, radio::GroupOutcome outcome) const;
    void LookSoon();
    void Look();
    BackendStatus StatusOf(const Picture& picture) const;

    Loop& loop_;
    KernelAccess access_;
    Callbacks callbacks_;
    Loop::Timer look_;
    std::optional<Picture> picture_;
    std::optional<BackendStatus> status_;
    Rfkill rfkill_;
    NetworkManager manager_;
    KernelMirror kernel_;
    PictureMaker maker_;
    SwitchControl switch_;
    AccessPoint group_;
    AccessPoint softAp_;
};

}  // namespace pelacon::service::linux_radios::wifi
