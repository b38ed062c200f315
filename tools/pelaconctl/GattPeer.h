// A device that the commands of `gatt` are connected to.
#pragma once

#include <protocol/Uuid.h>
#include <tools/pelaconctl/EventQueue.h>
#include <tools/pelaconctl/LibrarySession.h>

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace pelacon::ctl {

/// What the callbacks of the connection post to Events<GattEvent>().
struct GattConnectionChange {
    std::int32_t state;
    std::int32_t reason;
};
struct GattNotified {
    std::vector<std::uint8_t> value;
    std::int32_t kind;
};
using GattEvent = std::variant<GattConnectionChange, GattNotified>;

/// Connects to a device and searches its services; disconnects when destroyed.
class GattPeer {
  public:
    /// Throws Failure, also when the connection takes longer than this many seconds.
    GattPeer(std::uint64_t address, double seconds);
    ~GattPeer();

    GattPeer(const GattPeer&) = delete;
    GattPeer& operator=(const GattPeer&) = delete;

    std::int32_t Id() const { return id_; }
    std::string Address() const;

    bool HasService(const protocol::Uuid& service) const;

    std::int32_t Mtu() const;

    /// Throws Failure when the service was restarted, which ends the connection without a
    /// notification.
    void CheckConnection() const;

    /// Throws the Failure for a connection that has ended.
    [[noreturn]] void FailFor(const GattConnectionChange& end) const;

  private:
    void Connect(std::optional<Deadline> deadline);

    std::uint64_t address_;
    LibrarySession session_;
    std::int32_t id_ = 0;
};

}  // namespace pelacon::ctl
