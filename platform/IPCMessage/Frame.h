// The frames on a pipe. A record of the transport is one frame, or several notifications.
#pragma once

#include <IPCMessage/TagIPCMessageItem.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <type_traits>

namespace pelacon::ipc {

enum class FrameKind : std::uint8_t {
    kHelloCall = 1,   ///< opens a call connection; payload: the client's token
    kHelloEvent = 2,  ///< opens an event connection; payload: the client's token
    kWelcome = 3,     ///< the service's first frame on an event connection
    kRequest = 4,     ///< is answered by a reply with the same sequence number
    kReply = 5,
    kPost = 6,          ///< on an event connection, towards the service
    kNotification = 7,  ///< on an event or a watching connection, towards the client
    kControl = 8,       ///< an operator's command
    kControlReply = 9,  ///< its answer, in one frame or several
    kWatch = 10,        ///< an operator asks for a copy of every notification
    kRefused = 11,      ///< the sender is no operator; the connection ends
};

inline constexpr FrameKind kLastFrameKind = FrameKind::kRefused;

/// Bits of FrameHeader::flags.
enum FrameFlag : std::uint16_t {
    kHasPayload = 1,   ///< there is a payload, even if it is empty
    kItemFlag = 2,     ///< TagIPCMessageItem::flag
    kReturning = 4,    ///< in kHelloEvent: this client was connected to a service before
    kMoreFollows = 8,  ///< in kControlReply: the next frame continues the answer
    kAllFrameFlags = 15,
};

/// In kHelloEvent, as reservedC: the client reads records that hold several notifications. (It is
/// no flag, as services that do not know it would refuse that.)
inline constexpr std::int32_t kReadsJoined = 1;

/// The most notifications that are joined to one record, and the most bytes of such a record.
inline constexpr std::size_t kMostJoined = 16;
inline constexpr std::size_t kMostJoinedBytes = 16'384;

/// The head of every frame; payload and name follow it, in this order (so that the payload lies
/// aligned). All numbers are little-endian.
struct FrameHeader {
    std::uint32_t magic = kMagic;
    std::uint8_t version = kVersion;
    FrameKind kind{};
    std::uint16_t flags = 0;
    std::uint64_t sequence = 0;
    std::uint64_t order = 0;  ///< greetings and posts that the client sent before this frame
    std::int32_t targetModuleId = -1;
    std::int32_t sourceModuleId = -1;
    std::int32_t msgId = -1;
    std::int32_t reservedA = -1;
    std::int32_t reservedB = -1;
    std::int32_t reservedC = 0;
    std::uint32_t processId = 0;
    std::uint32_t payloadLength = 0;
    std::uint32_t nameLength = 0;
    std::uint32_t zero = 0;

    static constexpr std::uint32_t kMagic = 0x4E434C50;  // "PLCN"
    static constexpr std::uint8_t kVersion = 1;

    bool Has(FrameFlag flag) const noexcept { return (flags & flag) != 0; }
};

static_assert(std::endian::native == std::endian::little);
static_assert(sizeof(FrameHeader) == 64);
static_assert(std::has_unique_object_representations_v<FrameHeader>);  // there is no padding

inline constexpr std::size_t kMaxPayload = 65'536;
inline constexpr std::size_t kMaxName = 255;
inline constexpr std::size_t kMaxFrame = sizeof(FrameHeader) + kMaxPayload + kMaxName;

/// A message's receiver gets a payload buffer of at least this size that is zero after the payload,
/// so that a record that is longer than the payload reads as zeros.
inline constexpr std::size_t kPayloadRoom = 2048;
static_assert(kPayloadRoom <= kMaxPayload);

/// The least size of the buffer for a reply that has a payload. malloc returns this much without
/// taking a lock; kPayloadRoom would make a small request one percent slower.
inline constexpr std::size_t kReplyRoom = 1024;

/// The size of the buffer for a reply's payload. At least one zero follows the payload, so that
/// text is terminated.
constexpr std::size_t ReplyRoom(std::size_t payloadLength)
{
    return payloadLength != 0 ? std::max(payloadLength + 1, kReplyRoom) : kPayloadRoom;
}

/// 128 random bits that all connections of one client carry.
using Token = std::array<std::uint8_t, 16>;

/// Writes a frame to the front of the room; payload and name are within their limits, and their
/// lengths are filled in here. Returns the frame.
std::span<const std::uint8_t> WriteFrame(std::span<std::uint8_t> room, FrameHeader header,
                                         std::span<const std::uint8_t> payload,
                                         std::string_view name = {});

/// The header of a received frame; nothing unless every field is valid and the lengths agree.
std::optional<FrameHeader> ReadFrame(std::span<const std::uint8_t> frame);

/// The length of the frame at the front of a record; nothing unless its header is valid and all of
/// the frame is there.
std::optional<std::size_t> LengthOfFirst(std::span<const std::uint8_t> record);

/// Whether an item fits a frame: its lengths are within the limits, and its payload is not null
/// unless it is empty.
bool FitsFrame(const TagIPCMessageItem& item) noexcept;

/// A buffer for one frame of any size, to be reused.
class FrameBuffer {
  public:
    /// Does not initialise the bytes: most of them are never used.
    FrameBuffer() : bytes_(new std::uint8_t[kMaxFrame]) {}

    /// Where to receive a frame that Read is then called for.
    std::span<std::uint8_t> Room() const noexcept { return {bytes_.get(), kMaxFrame}; }

    /// Writes a frame, replacing the one before.
    std::span<const std::uint8_t> Write(const FrameHeader& header,
                                        std::span<const std::uint8_t> payload = {});

    /// Writes a frame with the item, which must fit. Kind, sequence and order are the header's.
    std::span<const std::uint8_t> Write(FrameHeader header, const TagIPCMessageItem& item);

    /// The header of the received frame of this size, which may be larger than the room; nothing
    /// unless the frame is valid.
    std::optional<FrameHeader> Read(std::size_t size);

    /// The payload of the frame that was read.
    std::span<const std::uint8_t> Payload(const FrameHeader& header) const noexcept
    {
        return {bytes_.get() + sizeof(FrameHeader), header.payloadLength};
    }

    /// The frame that was read, as an item whose payload is in this buffer, padded with zeros.
    void Item(const FrameHeader& header, TagIPCMessageItem& item);

    /// The same with a copy of the payload, allocated by malloc; false if that fails.
    bool CopyItem(const FrameHeader& header, TagIPCMessageItem& item) const;

  private:
    static constexpr std::size_t kPadded = sizeof(FrameHeader) + kPayloadRoom;

    std::unique_ptr<std::uint8_t[]> bytes_;
    std::size_t used_ = kPadded;  ///< of the bytes up to kPadded, all behind these are zero
};

}  // namespace pelacon::ipc
