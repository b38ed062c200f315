// The reader of frames, which both ends of a pipe use for whatever the other end sends. A frame
// that it accepts is written again without a difference.
#include <IPCMessage/Frame.h>

#include <fuzz/Input.h>

#include <cstdlib>
#include <memory>

namespace {

using namespace pelacon;
using fuzz::Require;
using ipc::FrameBuffer;
using ipc::FrameHeader;

void CheckItem(const TagIPCMessageItem& item, const FrameHeader& header)
{
    Require(item.msgId == header.msgId && item.length == header.payloadLength);
    Require((item.message != nullptr) == header.Has(ipc::kHasPayload));
    if (item.message != nullptr) {
        fuzz::Consume(item.message, item.length);
    }
}

/// What a frame carries may be sent again.
void CheckWritten(const FrameHeader& header, const TagIPCMessageItem& item)
{
    Require(ipc::FitsFrame(item));
    FrameBuffer buffer;
    const std::span<const std::uint8_t> frame = buffer.Write(header, item);
    const auto again = buffer.Read(frame.size());
    Require(again && again->kind == header.kind && again->sequence == header.sequence &&
            again->msgId == header.msgId && again->payloadLength == header.payloadLength);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    // In storage of exactly this size, for AddressSanitizer.
    const std::unique_ptr<std::uint8_t[]> exact(new std::uint8_t[size]);
    std::copy_n(data, size, exact.get());
    const auto read = ipc::ReadFrame({exact.get(), size});

    // At the front of a record of several.
    const auto length = ipc::LengthOfFirst({exact.get(), size});
    Require(!length || (*length <= size && ipc::ReadFrame({exact.get(), *length})));
    Require(!read || length == size);

    static FrameBuffer buffer;
    const std::span<std::uint8_t> room = buffer.Room();
    std::copy_n(data, std::min(size, room.size()), room.begin());
    const auto header = buffer.Read(size);
    Require(header.has_value() == read.has_value());
    if (!header) {
        return 0;
    }
    Require(buffer.Payload(*header).size() == header->payloadLength);
    TagIPCMessageItem copy;
    if (buffer.CopyItem(*header, copy)) {
        CheckItem(copy, *header);
        CheckWritten(*header, copy);
        std::free(copy.message);
    }
    TagIPCMessageItem item;
    buffer.Item(*header, item);
    CheckItem(item, *header);
    return 0;
}
