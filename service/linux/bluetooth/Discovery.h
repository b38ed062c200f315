// Runs discovery while advertisements are wanted, and reports those that are received.
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

/// One discovery for all scans, which BlueZ shares with the desktop. Advertisements are reported as
/// the controller received them if this process may read that (CAP_NET_RAW); otherwise they are
/// rebuilt from the properties of BlueZ's devices, which merge advertisements over time. In the
/// loop's thread.
class Discovery : private Stack::Observer {
  public:
    enum class Way : std::uint8_t { kNone, kRaw, kRebuilt };

    struct Callbacks {
        std::function<void(const AdvertisingReport&)> heard;
        /// Discovery runs.
        std::function<void()> began;
        /// It has ended, or could not be started, though it is wanted. It begins again by itself
        /// as soon as it can.
        std::function<void(radio::Outcome why)> ended;
    };

    /// How long after a refusal it is tried again.
    static constexpr std::chrono::seconds kNextTry{3};

    /// How often, and how soon, it is started again while BlueZ is busy.
    static constexpr int kMostRefusals = 10;
    static constexpr std::chrono::milliseconds kNextTryIfBusy{200};

    /// Opens a controller's raw reports; throws std::system_error if that fails.
    using OpenRaw = std::function<FileDescriptor(std::uint16_t controller)>;

    Discovery(Stack& stack, Callbacks callbacks, OpenRaw openRaw = &Hci::OpenReports);
    ~Discovery() override;

    /// Whether discovery is to run for scans. If it is, `began` or `ended` is called later, also
    /// when it runs already; neither before there is an adapter that is on.
    void Want(bool wanted);

    Way GetWay() const noexcept { return way_; }

    /// Discovery runs while this exists, for the devices that BlueZ finds by it. Must be destroyed
    /// before the discovery.
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
    enum class State : std::uint8_t { kIdle, kStarting, kRunning, kStopping };

    void AdapterChanged() override;
    void ObjectAdded(const std::string& path, const std::string& interface) override;
    void ObjectChanged(const std::string& path, const std::string& interface,
                       const dbus::Properties& changed) override;

    bool IsPossible() const;
    bool IsNeeded() const noexcept { return isWanted_ || holds_ > 0; }
    void FitLater();
    void Fit();
    void Start();
    void Started(const std::string& path, const dbus::Reply& reply);
    void Stop(State next);
    void Fail(radio::Outcome why);
    void ReportBegin();
    void ReportEnd(radio::Outcome why);
    void OpenReports();
    void Rebuild(const std::string& path, const dbus::Properties& changed);

    Stack& stack_;
    Callbacks callbacks_;
    OpenRaw openRaw_;
    bool isWanted_ = false;
    bool isBeginReported_ = false;
    int holds_ = 0;
    State state_ = State::kIdle;
    int refusals_ = 0;  // in a row, because another request is under way
    Way way_ = Way::kNone;
    std::string adapter_;  // the one whose reports are read
    std::unique_ptr<Hci> raw_;
    dbus::Bus::Slot call_;
    Loop::Timer next_;
};

/// An advertisement and its scan response, as far as they can be rebuilt from a device's
/// properties.
std::vector<AdvertisingReport> RebuildReports(const dbus::Properties& device);

}  // namespace pelacon::service::linux_radios::bluetooth
