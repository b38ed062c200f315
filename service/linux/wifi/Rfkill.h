// The switches that block radio transmitters (rfkill).
#pragma once

#include <service/linux/FileDescriptor.h>
#include <service/linux/Loop.h>

#include <cstdint>
#include <functional>
#include <map>
#include <optional>

namespace pelacon::service::linux_radios::wifi {

/// How the kernel's switches are reached. Tests replace the members.
struct RfkillAccess {
    FileDescriptor descriptor;  ///< of /dev/rfkill; none where there are no switches
    bool isWritable = false;
    /// The number of the card that a switch belongs to; nothing for a switch of the machine.
    std::function<std::optional<std::uint32_t>(std::uint32_t number)> cardOf;
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
    Block BlockOf(std::uint32_t card) const;

    bool CanSwitch() const noexcept { return access_.isWritable; }

    /// Sets all soft blocks of Wi-Fi. Returns 0 or an errno.
    int Switch(bool on) const;

  private:
    struct One {
        std::optional<std::uint32_t> card;
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
