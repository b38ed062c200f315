#include <IPCMessage/Frame.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace pelacon::ipc {

namespace {

constexpr bool IsSound(const FrameHeader& header) noexcept
{
    return header.magic == FrameHeader::kMagic && header.version == FrameHeader::kVersion &&
           header.kind >= FrameKind::kHelloCall && header.kind <= kLastFrameKind &&
           (header.flags & ~kAllFrameFlags) == 0 && header.payloadLength <= kMaxPayload &&
           header.nameLength <= kMaxName && header.zero == 0 &&
           (header.Has(kHasPayload) || header.payloadLength == 0);
}

constexpr std::size_t LengthOf(const FrameHeader& header) noexcept
{
    return sizeof(header) + header.payloadLength + header.nameLength;
}

/// The valid header at the front, whatever follows it.
std::optional<FrameHeader> ReadHeader(std::span<const std::uint8_t> bytes)
{
    FrameHeader header;
    if (bytes.size() < sizeof(header)) {
        return std::nullopt;
    }
    std::memcpy(&header, bytes.data(), sizeof(header));
    return IsSound(header) ? std::optional(header) : std::nullopt;
}

/// Fills all of an item but the pointer to its payload. `payload` points to the frame's payload,
/// which the name follows.
void ReadFields(const FrameHeader& header, const std::uint8_t* payload, TagIPCMessageItem& item)
{
    item.name.assign(reinterpret_cast<const char*>(payload + header.payloadLength),
                     header.nameLength);
    item.targetModuleId = header.targetModuleId;
    item.sourceModuleId = header.sourceModuleId;
    item.msgId = header.msgId;
    item.reservedA = header.reservedA;
    item.reservedB = header.reservedB;
    item.reservedC = header.reservedC;
    item.flag = header.Has(kItemFlag);
    item.processId = header.processId;
    item.length = header.payloadLength;
}

}  // namespace

std::span<const std::uint8_t> WriteFrame(std::span<std::uint8_t> room, FrameHeader header,
                                         std::span<const std::uint8_t> payload,
                                         std::string_view name)
{
    header.payloadLength = static_cast<std::uint32_t>(payload.size());
    header.nameLength = static_cast<std::uint32_t>(name.size());
    std::memcpy(room.data(), &header, sizeof(header));
    std::uint8_t* const body = room.data() + sizeof(header);
    if (!payload.empty()) {
        std::memcpy(body, payload.data(), payload.size());
    }
    if (!name.empty()) {
        std::memcpy(body + payload.size(), name.data(), name.size());
    }
    return room.first(sizeof(header) + payload.size() + name.size());
}

std::optional<FrameHeader> ReadFrame(std::span<const std::uint8_t> frame)
{
    const auto header = ReadHeader(frame);
    return header && LengthOf(*header) == frame.size() ? header : std::nullopt;
}

std::optional<std::size_t> LengthOfFirst(std::span<const std::uint8_t> record)
{
    const auto header = ReadHeader(record);
    return header && LengthOf(*header) <= record.size() ? std::optional(LengthOf(*header))
                                                        : std::nullopt;
}

bool FitsFrame(const TagIPCMessageItem& item) noexcept
{
    return item.length <= kMaxPayload && item.name.size() <= kMaxName &&
           (item.message != nullptr || item.length == 0);
}

std::span<const std::uint8_t> FrameBuffer::Write(const FrameHeader& header,
                                                 std::span<const std::uint8_t> payload)
{
    const auto frame = WriteFrame(Room(), header, payload);
    used_ = std::max(used_, frame.size());
    return frame;
}

std::span<const std::uint8_t> FrameBuffer::Write(FrameHeader header, const TagIPCMessageItem& item)
{
    header.flags = static_cast<std::uint16_t>((item.message != nullptr ? kHasPayload : 0) |
                                              (item.flag ? kItemFlag : 0));
    header.targetModuleId = item.targetModuleId;
    header.sourceModuleId = item.sourceModuleId;
    header.msgId = item.msgId;
    header.reservedA = item.reservedA;
    header.reservedB = item.reservedB;
    header.reservedC = item.reservedC;
    header.processId = item.processId;
    const auto frame = WriteFrame(Room(), header, {item.message, item.length}, item.name);
    used_ = std::max(used_, frame.size());
    return frame;
}

std::optional<FrameHeader> FrameBuffer::Read(std::size_t size)
{
    const std::span<const std::uint8_t> room = Room();
    used_ = std::max(used_, std::min(size, room.size()));
    return size <= room.size() ? ReadFrame(room.first(size)) : std::nullopt;
}

void FrameBuffer::Item(const FrameHeader& header, TagIPCMessageItem& item)
{
    std::uint8_t* const payload = bytes_.get() + sizeof(FrameHeader);
    ReadFields(header, payload, item);
    item.message = header.Has(kHasPayload) ? payload : nullptr;
    // Clears only the bytes after the payload that this frame's name or an earlier frame has set.
    const std::size_t end = sizeof(FrameHeader) + header.payloadLength;
    const std::size_t clearTo = std::max(std::min(used_, kPadded), end + 1);
    std::memset(bytes_.get() + end, 0, clearTo - end);
    used_ = std::min(end, kPadded);
}

bool FrameBuffer::CopyItem(const FrameHeader& header, TagIPCMessageItem& item) const
{
    const std::uint8_t* const payload = bytes_.get() + sizeof(FrameHeader);
    std::unique_ptr<std::uint8_t, decltype(&std::free)> copy(nullptr, &std::free);
    if (header.Has(kHasPayload)) {
        const std::size_t length = header.payloadLength;
        const std::size_t room = ReplyRoom(length);
        copy.reset(static_cast<std::uint8_t*>(std::malloc(room)));
        if (!copy) {
            return false;
        }
        std::memcpy(copy.get(), payload, length);
        std::memset(copy.get() + length, 0, room - length);
    }
    ReadFields(header, payload, item);
    item.message = copy.release();
    return true;
}

}  // namespace pelacon::ipc
