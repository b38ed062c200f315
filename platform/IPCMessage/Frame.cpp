#include <IPCMessage/Frame.h>

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
    FrameHeader header;
    if (frame.size() < sizeof(header)) {
        return std::nullopt;
    }
    std::memcpy(&header, frame.data(), sizeof(header));
    if (!IsSound(header) ||
        frame.size() != sizeof(header) + header.payloadLength + header.nameLength) {
        return std::nullopt;
    }
    return header;
}

bool FitsFrame(const TagIPCMessageItem& item) noexcept
{
    return item.length <= kMaxPayload && item.name.size() <= kMaxName &&
           (item.message != nullptr || item.length == 0);
}

std::span<const std::uint8_t> WriteItem(std::span<std::uint8_t> room, FrameHeader header,
                                        const TagIPCMessageItem& item)
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
    return WriteFrame(room, header, {item.message, item.length}, item.name);
}

void ReadItem(std::uint8_t* frame, const FrameHeader& header, TagIPCMessageItem& item)
{
    std::uint8_t* const payload = frame + sizeof(FrameHeader);
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
    item.message = nullptr;
    if (header.Has(kHasPayload)) {
        item.message = payload;
        std::memset(payload + header.payloadLength, 0,
                    PayloadRoom(header.payloadLength) - header.payloadLength);
    }
}

}  // namespace pelacon::ipc
