#include <service/linux/bluetooth/Sockets.h>
#include <tests/radios/AdvertisingWatch.h>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace pelacon::radios_test {

namespace {

using Clock = std::chrono::steady_clock;

// Bluetooth Core, volume 4, part E.
enum PacketType : std::uint8_t { kCommand = 0x01, kEvent = 0x04 };
enum Event : std::uint8_t { kDisconnected = 0x05, kCommandComplete = 0x0E, kLeMeta = 0x3E };
enum LeEvent : std::uint8_t { kConnectionComplete = 0x01, kEnhancedConnectionComplete = 0x0A };
enum Command : std::uint16_t { kReset = 0x0C03, kSetAdvertisingEnable = 0x200A };

/// The kernel's hci_filter.
struct Filter {
    std::uint32_t types = 1U << kCommand | 1U << kEvent;
    std::array<std::uint32_t, 2> events{1U << kDisconnected | 1U << kCommandComplete,
                                        1U << (kLeMeta - 32)};
    std::uint16_t command = 0;  // all
};

std::uint16_t Number(const std::vector<std::uint8_t>& packet, std::size_t place)
{
    return static_cast<std::uint16_t>(packet[place] | packet[place + 1] << 8);
}

}  // namespace

AdvertisingWatch::AdvertisingWatch(std::uint16_t controller)
    : socket_(OpenSocket(service::linux_radios::bluetooth::HciChannel::kRaw, controller))
{
    constexpr int kHciFilter = 2;
    const Filter filter;
    if (setsockopt(socket_.Get(), 0, kHciFilter, &filter, sizeof filter) != 0) {
        throw std::system_error(errno, std::generic_category(), "cannot filter packets");
    }
}

void AdvertisingWatch::Take(const std::vector<std::uint8_t>& packet)
{
    constexpr std::size_t kParameters = 4;  // of a command; after its code and their length
    if (packet[0] == kCommand && Number(packet, 1) == kSetAdvertisingEnable) {
        isToBeOn_ = packet[kParameters] != 0;
    } else if ((packet[0] == kCommand && Number(packet, 1) == kReset) ||
               (packet[0] == kEvent && packet[1] == kDisconnected)) {
        isConnected_ = false;
        isOn_ = false;
    } else if (packet[0] == kEvent && packet[1] == kCommandComplete) {
        if (Number(packet, 4) == kSetAdvertisingEnable && packet[6] == 0) {
            isOn_ = isToBeOn_;
        }
    } else if (packet[0] == kEvent && packet[1] == kLeMeta) {
        const bool isConnection =
            packet[3] == kConnectionComplete || packet[3] == kEnhancedConnectionComplete;
        isConnected_ = isConnected_ || (isConnection && packet[4] == 0);
    }
}

bool AdvertisingWatch::WaitUntilFree(std::chrono::milliseconds patience)
{
    const auto end = Clock::now() + patience;
    for (;;) {
        std::vector<std::uint8_t> packet(1024);
        const ssize_t size = read(socket_.Get(), packet.data(), packet.size());
        if (size > 0) {
            Take(packet);
            continue;
        }
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
        const bool isFree = isOn_ && !isConnected_;
        if (isFree || left <= 0) {
            return isFree;
        }
        pollfd waiting{socket_.Get(), POLLIN, 0};
        poll(&waiting, 1, static_cast<int>(left));
    }
}

}  // namespace pelacon::radios_test
