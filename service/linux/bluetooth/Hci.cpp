#include <service/linux/bluetooth/Hci.h>
#include <service/linux/bluetooth/Sockets.h>

#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <span>
#include <system_error>
#include <utility>

namespace pelacon::service::linux_radios::bluetooth {

namespace {

/// The kernel's hci_ufilter.
struct HciFilter {
    std::uint32_t types;
    std::array<std::uint32_t, 2> events;
    std::uint16_t opcode;
};
static_assert(sizeof(HciFilter) == 16);

constexpr int kHciLevel = 0;
constexpr int kFilterOption = 2;
constexpr unsigned kEventBit = 4;
constexpr unsigned kLeMetaBit = 0x3E;
constexpr unsigned kBitsPerWord = 32;

/// The size of the largest event, with its packet type.
constexpr std::size_t kMostPacketSize = 3 + 255;
/// How many are read before other sources have their turn.
constexpr int kMostPacketsAtOnce = 64;

}  // namespace

FileDescriptor Hci::OpenReports(std::uint16_t controller)
{
    FileDescriptor socket = OpenSocket(HciChannel::kRaw, controller);
    HciFilter filter{1U << kEventBit, {0, 1U << (kLeMetaBit - kBitsPerWord)}, 0};
    if (setsockopt(socket.Get(), kHciLevel, kFilterOption, &filter, sizeof filter) != 0) {
        throw std::system_error(errno, std::generic_category(), "cannot filter HCI events");
    }
    // Without the capability the kernel removes the event from the filter without an error.
    HciFilter kept{};
    socklen_t size = sizeof kept;
    if (getsockopt(socket.Get(), kHciLevel, kFilterOption, &kept, &size) != 0) {
        throw std::system_error(errno, std::generic_category(), "cannot read the HCI filter");
    }
    if (kept.events[1] != filter.events[1]) {
        throw std::system_error(std::make_error_code(std::errc::operation_not_permitted),
                                "raw advertising reports want CAP_NET_RAW");
    }
    return socket;
}

Hci::Hci(Loop& loop, FileDescriptor socket, OnReport heard, std::function<void()> lost)
    : loop_(loop), socket_(std::move(socket)), heard_(std::move(heard)), lost_(std::move(lost))
{
    loop_.Add(*this);
}

Hci::~Hci()
{
    loop_.Remove(*this);
}

Loop::Interest Hci::Wants()
{
    return {socket_.Get(), POLLIN, std::nullopt};
}

void Hci::Ready(short)
{
    std::array<std::uint8_t, kMostPacketSize> packet{};
    for (int i = 0; i < kMostPacketsAtOnce; ++i) {
        const ssize_t size = recv(socket_.Get(), packet.data(), packet.size(), MSG_DONTWAIT);
        if (size < 0 && errno == EINTR) {
            continue;
        }
        if (size < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            return;
        }
        if (size <= 0) {
            loop_.Remove(*this);
            if (const auto lost = std::exchange(lost_, nullptr)) {
                lost();
            }
            return;
        }
        const auto bytes = std::span(packet).first(static_cast<std::size_t>(size));
        for (AdvertisingReport& report : DecodeAdvertisingReports(bytes)) {
            if (assembler_.Join(report)) {
                heard_(report);
            }
        }
    }
}

}  // namespace pelacon::service::linux_radios::bluetooth
