// The switches that block radio transmitters (rfkill).
#pragma once

#include <service/linux/FileDescriptor.h>
#include <service/linux/Loop.h>

#include <cstdint>
#include <functional>
#include <map>
#include <string>

namespace pelacon::service::linux_radios::wifi {

/// How the kernel's switches are reached. Tests replace the members.
struct RfkillAccess {
    FileDescriptor descriptor;  ///< of /dev/rfkill; none where there are no switches
    bool isWritable = false;
    /// The name of the device that a switch belongs to: "phy0" for a card.
    std::function<std::string(std::uint32_t number)> nameOf;
};

RfkillAccess OpenRfkill();

/// Follows the switches for Wi-Fi. In the loop's thread.
class Rfkill : private Loop::Source {
  public:
    enum class Block : std::uint8_t { kNone, kSoft, kHard };

    /// `changed` is called after each change; must not destroy this.
    Rfkill(Loop& loop, RfkillAccess access, std::function<void()> changed);
    ~Rfkill() override;

    /// Whether there are switches. Where there are none, there may be some later.
    bool IsThere() const noexcept { return static_cast<bool>(access_.descriptor); }

    /// There are switches now, perhaps. Calls nothing.
    void Open(RfkillAccess access);

    /// What blocks this card: its own switch, or one of the machine.
    Block BlockOf(const std::string& card) const;

    bool CanSwitch() const noexcept { return access_.isWritable; }

    /// Sets all soft blocks of Wi-Fi. False if the kernel does not permit it.
    bool Switch(bool on) const;

  private:
    struct One {
        std::string device;
        Block block = Block::kNone;
    };

    Loop::Interest Wants() override;
    void Ready(short events) override;
    bool Read();

    Loop& loop_;
    RfkillAccess access_;
    std::function<void()> changed_;
    std::map<std::uint32_t, One> switches_;
};

}  // namespace pelacon::service::linux_radios::wifi
