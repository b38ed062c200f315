#include <service/linux/ByteReader.h>
#include <service/linux/bluetooth/Management.h>

#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <utility>

namespace pelacon::service::linux_radios::bluetooth {

namespace {

constexpr std::uint16_t kCommandComplete = 0x0001;
constexpr std::uint16_t kCommandStatus = 0x0002;
constexpr std::size_t kMostReply = 4096;
constexpr int kMostEventsAtOnce = 64;

std::optional<AddressType> DeviceTypeOf(std::uint8_t type)
{
    return type <= static_cast<std::uint8_t>(AddressType::kRandom)
               ? std::optional(static_cast<AddressType>(type))
               : std::nullopt;
}

/// The address and its type, with which many events begin.
template <typename Event>
bool TakeDevice(ByteReader& reader, Event& event)
{
    const auto octets = reader.TakeBytes(kAddressOctets);
    const auto type = DeviceTypeOf(reader.Take<std::uint8_t>());
    if (octets.size() != kAddressOctets || !type) {
        return false;
    }
    event.address = AddressOf(octets.template first<kAddressOctets>());
    event.type = *type;
    return true;
}

}  // namespace

std::optional<ManagementEvent> DecodeManagementEvent(std::span<const std::uint8_t> packet)
{
    ByteReader reader(packet);
    ManagementEvent event;
    event.code = reader.Take<std::uint16_t>();
    event.controller = reader.Take<std::uint16_t>();
    event.parameters = reader.TakeBytes(reader.Take<std::uint16_t>());
    return reader.IsBroken() ? std::nullopt : std::optional(event);
}

std::optional<DeviceConnected> DecodeDeviceConnected(std::span<const std::uint8_t> parameters)
{
    constexpr std::uint32_t kByUs = 0x08;
    ByteReader reader(parameters);
    DeviceConnected event;
    const bool isRight = TakeDevice(reader, event);
    event.isByUs = (reader.Take<std::uint32_t>() & kByUs) != 0;
    return isRight && !reader.IsBroken() ? std::optional(event) : std::nullopt;
}

std::optional<DeviceDisconnected> DecodeDeviceDisconnected(std::span<const std::uint8_t> parameters)
{
    using Reason = DeviceDisconnected::Reason;
    ByteReader reader(parameters);
    DeviceDisconnected event;
    const bool isRight = TakeDevice(reader, event);
    const auto reason = reader.Take<std::uint8_t>();
    if (reason <= static_cast<std::uint8_t>(Reason::kRemote)) {
        event.reason = static_cast<Reason>(reason);
    }
    return isRight && !reader.IsBroken() ? std::optional(event) : std::nullopt;
}

std::optional<std::uint8_t> DecodeAdvertisingInstance(std::span<const std::uint8_t> parameters)
{
    return parameters.empty() ? std::nullopt : std::optional(parameters.front());
}

std::optional<AdvertisingFeatures> DecodeAdvertisingFeatures(
    std::span<const std::uint8_t> parameters)
{
    ByteReader reader(parameters);
    AdvertisingFeatures features;
    features.flags = reader.Take<std::uint32_t>();
    features.mostData = reader.Take<std::uint8_t>();
    features.mostScanResponse = reader.Take<std::uint8_t>();
    features.mostInstances = reader.Take<std::uint8_t>();
    const auto instances = reader.TakeBytes(reader.Take<std::uint8_t>());
    features.instances.assign(instances.begin(), instances.end());
    return reader.IsBroken() ? std::nullopt : std::optional(features);
}

Management::Management(Loop& loop, FileDescriptor socket, OnEvent heard, std::function<void()> lost,
                       std::chrono::milliseconds limit)
    : loop_(loop),
      socket_(std::move(socket)),
      heard_(std::move(heard)),
      lost_(std::move(lost)),
      replyLimit_(limit)
{
    loop_.Add(*this);
}

Management::~Management()
{
    loop_.Remove(*this);
    if (isUnderWay_) {
        waiting_.pop_front();
    }
    for (const Command& command : waiting_) {
        Write(command);
    }
}

void Management::Send(std::uint16_t command, std::uint16_t controller,
                      std::vector<std::uint8_t> parameters, OnReply done)
{
    waiting_.push_back({command, controller, std::move(parameters), std::move(done)});
    if (waiting_.size() == 1) {
        next_ = loop_.After(Loop::Duration::zero(), [this] { SendNext(); });
    }
}

void Management::SendNext()
{
    if (waiting_.empty()) {
        return;
    }
    isUnderWay_ = true;
    limit_ = loop_.After(replyLimit_, [this] { HandleEnd(); });
    if (!Write(waiting_.front())) {
        Finish(ManagementStatus::kNoReply, {});
    }
}

bool Management::Write(const Command& command) const
{
    std::vector<std::uint8_t> packet;
    AppendNumber(packet, command.code);
    AppendNumber(packet, command.controller);
    AppendNumber(packet, static_cast<std::uint16_t>(command.parameters.size()));
    packet.insert(packet.end(), command.parameters.begin(), command.parameters.end());
    return send(socket_.Get(), packet.data(), packet.size(), MSG_DONTWAIT | MSG_NOSIGNAL) >= 0;
}

void Management::Finish(ManagementStatus status, std::span<const std::uint8_t> parameters)
{
    limit_.Cancel();
    isUnderWay_ = false;
    const Command command = std::move(waiting_.front());
    waiting_.pop_front();
    if (!waiting_.empty()) {
        next_ = loop_.After(Loop::Duration::zero(), [this] { SendNext(); });
    }
    command.done(status, parameters);
}

Loop::Interest Management::Wants()
{
    return {socket_.Get(), POLLIN, std::nullopt};
}

void Management::Ready(short)
{
    std::array<std::uint8_t, kMostReply> packet{};
    for (int i = 0; i < kMostEventsAtOnce; ++i) {
        const ssize_t size = recv(socket_.Get(), packet.data(), packet.size(), MSG_DONTWAIT);
        if (size < 0 && errno == EINTR) {
            continue;
        }
        if (size < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            return;
        }
        if (size <= 0) {
            HandleEnd();
            return;
        }
        const auto bytes = std::span(packet).first(static_cast<std::size_t>(size));
        if (const auto event = DecodeManagementEvent(bytes)) {
            Take(*event);
        }
    }
}

void Management::Take(const ManagementEvent& event)
{
    if (event.code != kCommandComplete && event.code != kCommandStatus) {
        heard_(event);
        return;
    }
    ByteReader reader(event.parameters);
    const auto command = reader.Take<std::uint16_t>();
    const auto status = reader.Take<std::uint8_t>();
    const bool isOurs = isUnderWay_ && !reader.IsBroken() && waiting_.front().code == command &&
                        waiting_.front().controller == event.controller;
    if (isOurs) {
        Finish(static_cast<ManagementStatus>(status), reader.Rest());
    }
}

void Management::HandleEnd()
{
    loop_.Remove(*this);
    while (!waiting_.empty()) {
        Finish(ManagementStatus::kNoReply, {});
    }
    next_.Cancel();
    if (const auto lost = std::exchange(lost_, nullptr)) {
        lost();
    }
}

}  // namespace pelacon::service::linux_radios::bluetooth
