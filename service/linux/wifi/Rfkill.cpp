#include <service/linux/wifi/Rfkill.h>

#include <fcntl.h>
#include <linux/rfkill.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <utility>

namespace pelacon::service::linux_radios::wifi {

namespace {

constexpr const char* kRfkillFile = "/dev/rfkill";
constexpr ssize_t kEventSize = RFKILL_EVENT_SIZE_V1;

/// By the device that has the switch: its name and the switch's may be anything.
std::optional<std::uint32_t> CardInSysfs(std::uint32_t number)
{
    const std::string device = "/sys/class/rfkill/rfkill" + std::to_string(number) + "/device";
    std::error_code error;
    const auto subsystem = std::filesystem::read_symlink(device + "/subsystem", error);
    std::ifstream file(device + "/index");
    std::uint32_t card = 0;
    return !error && subsystem.filename() == "ieee80211" && file >> card ? std::optional(card)
                                                                         : std::nullopt;
}

}  // namespace

RfkillAccess OpenRfkill()
{
    constexpr int kFlags = O_NONBLOCK | O_CLOEXEC;
    RfkillAccess access;
    access.cardOf = &CardInSysfs;
    access.descriptor = FileDescriptor(open(kRfkillFile, O_RDWR | kFlags));
    access.isWritable = static_cast<bool>(access.descriptor);
    if (!access.isWritable) {
        access.descriptor = FileDescriptor(open(kRfkillFile, O_RDONLY | kFlags));
    }
    return access;
}

Rfkill::Rfkill(Loop& loop, RfkillAccess access, std::function<void()> changed)
    : loop_(loop), changed_(std::move(changed))
{
    Open(std::move(access));
}

void Rfkill::Open(RfkillAccess access)
{
    access_ = std::move(access);
    if (access_.descriptor) {
        loop_.Add(*this);
        Read();  // the kernel has an event for each switch that is there
    }
}

Rfkill::~Rfkill()
{
    loop_.Remove(*this);
}

Rfkill::Block Rfkill::BlockOf(std::uint32_t card) const
{
    Block block = Block::kNone;
    for (const auto& [number, one] : switches_) {
        if (one.card.value_or(card) == card) {
            block = std::max(block, one.block);
        }
    }
    return block;
}

int Rfkill::Switch(bool on) const
{
    rfkill_event event{};
    event.type = RFKILL_TYPE_WLAN;
    event.op = RFKILL_OP_CHANGE_ALL;
    event.soft = on ? 0 : 1;
    return write(access_.descriptor.Get(), &event, kEventSize) == kEventSize ? 0 : errno;
}

Loop::Interest Rfkill::Wants()
{
    return {access_.descriptor.Get(), POLLIN, std::nullopt};
}

void Rfkill::Ready(short)
{
    if (Read()) {
        changed_();
    }
}

/// Reads the events that there are. Returns whether a switch has changed.
bool Rfkill::Read()
{
    bool hasChanged = false;
    while (true) {
        rfkill_event event{};
        const ssize_t size = read(access_.descriptor.Get(), &event, sizeof event);
        if (size < 0 && errno == EINTR) {
            continue;
        }
        if (size < kEventSize) {
            if (size >= 0 || (errno != EAGAIN && errno != EWOULDBLOCK)) {
                loop_.Remove(*this);
            }
            break;
        }
        if (event.type != RFKILL_TYPE_WLAN) {
            continue;
        }
        hasChanged = true;
        if (event.op == RFKILL_OP_DEL) {
            switches_.erase(event.idx);
            continue;
        }
        const auto [one, isNew] = switches_.try_emplace(event.idx);
        if (isNew) {
            one->second.card = access_.cardOf(event.idx);
        }
        one->second.block = event.hard != 0   ? Block::kHard
                            : event.soft != 0 ? Block::kSoft
                                              : Block::kNone;
    }
    return hasChanged;
}

}  // namespace pelacon::service::linux_radios::wifi
