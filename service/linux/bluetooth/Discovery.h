// Has BlueZ discover while somebody wants to hear advertisements, and hears them.
#pragma once

#include <service/linux/bluetooth/AdapterControl.h>
#include <service/linux/bluetooth/Hci.h>
#include <service/linux/bluetooth/Stack.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace pelacon::service::linux_radios::bluetooth {

/// One discovery for all who scan, which BlueZ shares with the desktop. What is heard comes from
/// the controller as it was sent, where this process may have that (CAP_NET_RAW); else it is
/// rebuilt from what BlueZ makes of it, which merges advertisements over time. In the loop's
/// thread.
class Discovery : private Stack::Observer {
  public:
    enum class Way : std::uint8_t { kNone, kRaw, kRebuilt };

    struct Callbacks {
        std::function<void(const AdvertisingReport&)> heard;
        /// Discovery goes on since now.
        std::function<void()> began;
        /// It does not go on, or did not come up, though it is wanted. It begins by itself again
        /// when that is possible.
        std::function<void(radio::Outcome why)> ended;
    };

    /// How long until one that was refused is tried again.
    static constexpr std::chrono::seconds kNextTry{3};

    /// Opens a controller's raw reports; throws std::system_error where that cannot be.
    using OpenRaw = std::function<FileDescriptor(std::uint16_t controller)>;

    Discovery(Stack& stack, Callbacks callbacks, OpenRaw openRaw = &Hci::OpenReports);
    ~Discovery() override;

    /// Whether to go on. `began` or `ended` is called later.
    void Want(bool wanted);

    Way GetWay() const noexcept { return way_; }

    /// Has discovery go on for as long as this lives, for what BlueZ finds by it. Ends before it.
    class Hold {
      public:
        Hold(Hold&& other) noexcept : discovery_(std::exchange(other.discovery_, nullptr)) {}
        Hold& operator=(Hold&&) = delete;
        Hold(const Hold&) = delete;
        Hold& operator=(const Hold&) = delete;
        ~Hold();

      private:
        friend class Discovery;
        explicit Hold(Discovery& discovery) : discovery_(&discovery) {}
        Discovery* discovery_;
    };
    [[nodiscard]] Hold Keep();

  private:
    enum class State : std::uint8_t { kIdle, kStarting, kRunning };

    void AdapterChanged() override;
    void ObjectAdded(const std::string& path, const std::string& interface) override;
    void ObjectChanged(const std::string& path, const std::string& interface,
                       const dbus::Properties& changed) override;

    bool IsPossible() const;
    bool IsNeeded() const noexcept { return isWanted_ || holds_ > 0; }
    void FitLater();
    void Fit();
    void Start();
    void Stop();
    void Fail(radio::Outcome why);
    void TellBegin();
    void TellEnd(radio::Outcome why);
    void Listen();
    void Rebuild(const std::string& path, const dbus::Properties& changed);

    Stack& stack_;
    Callbacks callbacks_;
    OpenRaw openRaw_;
    bool isWanted_ = false;
    bool isBeginTold_ = false;  // to who wants it
    int holds_ = 0;
    State state_ = State::kIdle;
    Way way_ = Way::kNone;
    std::string adapter_;  // whose reports are listened to
    std::unique_ptr<Hci> raw_;
    dbus::Bus::Slot call_;
    Loop::Timer next_;
};

/// An advertisement and its scan response, as far as they can be rebuilt from a device's
/// properties.
std::vector<AdvertisingReport> RebuildReports(const dbus::Properties& device);

}  // namespace pelacon::service::linux_radios::bluetooth
