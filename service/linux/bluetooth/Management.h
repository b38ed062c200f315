// The kernel's management interface for Bluetooth controllers.
#pragma once

#include <service/linux/FileDescriptor.h>
#include <service/linux/Loop.h>
#include <service/linux/bluetooth/Address.h>

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace pelacon::service::linux_radios::bluetooth {

/// The result of a command.
enum class ManagementStatus : std::uint8_t {
    kSuccess = 0x00,
    kUnknownCommand = 0x01,
    kFailed = 0x03,
    kBusy = 0x0A,
    kRejected = 0x0B,
    kNotSupported = 0x0C,
    kInvalidParameters = 0x0D,
    kNotPowered = 0x0F,
    kInvalidIndex = 0x11,
    kBlockedByRfkill = 0x12,
    kPermissionDenied = 0x14,
    kNoReply = 0xFF,  ///< no reply in time, or the socket was closed
};

/// Whether, after this reply to a removal, the object does not exist any more.
constexpr bool IsGone(ManagementStatus status)
{
    return status == ManagementStatus::kSuccess || status == ManagementStatus::kInvalidParameters ||
           status == ManagementStatus::kInvalidIndex;
}

enum class ManagementEventCode : std::uint16_t {
    kIndexAdded = 0x0004,
    kIndexRemoved = 0x0005,
    kDeviceConnected = 0x000B,
    kDeviceDisconnected = 0x000C,
    kAdvertisingAdded = 0x0023,
    kAdvertisingRemoved = 0x0024,
    kMonitorRemoved = 0x002C,
};

/// An event, or a reply, as it comes.
struct ManagementEvent {
    std::uint16_t code = 0;
    std::uint16_t controller = 0;
    std::span<const std::uint8_t> parameters;
};

/// Nothing if the packet is shorter than its header says.
std::optional<ManagementEvent> DecodeManagementEvent(std::span<const std::uint8_t> packet);

struct DeviceConnected {
    std::uint64_t address = 0;
    AddressType type = AddressType::kClassic;
    bool isByUs = false;  ///< this machine connected, rather than the peer
};

struct DeviceDisconnected {
    enum class Reason : std::uint8_t { kUnknown = 0, kTimeout = 1, kLocal = 2, kRemote = 3 };

    std::uint64_t address = 0;
    AddressType type = AddressType::kClassic;
    Reason reason = Reason::kUnknown;
};

/// These decode an event's parameters; nothing if they are wrong.
std::optional<DeviceConnected> DecodeDeviceConnected(std::span<const std::uint8_t> parameters);
std::optional<DeviceDisconnected> DecodeDeviceDisconnected(
    std::span<const std::uint8_t> parameters);
/// The instance, of Advertising Added and Removed.
std::optional<std::uint8_t> DecodeAdvertisingInstance(std::span<const std::uint8_t> parameters);

/// What a controller can advertise, and the instances that it has.
struct AdvertisingFeatures {
    std::uint32_t flags = 0;
    std::uint8_t mostData = 0;
    std::uint8_t mostScanResponse = 0;
    std::uint8_t mostInstances = 0;
    std::vector<std::uint8_t> instances;
};
std::optional<AdvertisingFeatures> DecodeAdvertisingFeatures(
    std::span<const std::uint8_t> parameters);

inline constexpr std::uint16_t kReadAdvertisingFeatures = 0x003D;
inline constexpr std::uint16_t kRemoveAdvertising = 0x003F;

/// Commands go one after the other, each answered within a bounded time. In the loop's thread.
class Management : private Loop::Source {
  public:
    /// Called with each event; must not destroy the socket.
    using OnEvent = std::function<void(const ManagementEvent&)>;
    using OnReply =
        std::function<void(ManagementStatus status, std::span<const std::uint8_t> parameters)>;

    static constexpr std::chrono::seconds kLimit{5};

    /// Takes a socket of the control channel (see OpenSocket), or a stand-in of it. `lost` is
    /// called once, when the socket cannot be used any more; it may destroy this. That is also so
    /// after a reply that did not come in time: it would be taken for that of a later command.
    Management(Loop& loop, FileDescriptor socket, OnEvent heard, std::function<void()> lost,
               std::chrono::milliseconds limit = kLimit);

    /// Commands that wait are sent, as they may end what others have begun; no `done` is called.
    ~Management() override;

    /// `done` is called once, later.
    void Send(std::uint16_t command, std::uint16_t controller, std::vector<std::uint8_t> parameters,
              OnReply done);

  private:
    struct Command {
        std::uint16_t code;
        std::uint16_t controller;
        std::vector<std::uint8_t> parameters;
        OnReply done;
    };

    Loop::Interest Wants() override;
    void Ready(short events) override;
    void Take(const ManagementEvent& event);
    void SendNext();
    bool Write(const Command& command) const;
    void Finish(ManagementStatus status, std::span<const std::uint8_t> parameters);
    void HandleEnd();

    Loop& loop_;
    FileDescriptor socket_;
    OnEvent heard_;
    std::function<void()> lost_;
    std::deque<Command> waiting_;  // the first one is under way if isUnderWay_
    bool isUnderWay_ = false;
    std::chrono::milliseconds replyLimit_;
    Loop::Timer next_;
    Loop::Timer limit_;
};

}  // namespace pelacon::service::linux_radios::bluetooth
