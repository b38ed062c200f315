// The layout of frames, and bytes that are no frame.
#include <IPCMessage/Frame.h>
#include <tests/platform/IPCMessage/RawPeers.h>

#include <cstdlib>

namespace pelacon::test {

namespace {

using ipc::FrameBuffer;
using ipc::FrameHeader;
using ipc::FrameKind;

TEST(FrameTest, FieldsHaveTheirOffsets)
{
    const FrameHeader header{.kind = FrameKind::kRequest,
                             .flags = ipc::kHasPayload | ipc::kItemFlag,
                             .sequence = 0x0102030405060708,
                             .order = 9,
                             .targetModuleId = 0xD70000,
                             .sourceModuleId = 0xD80000,
                             .msgId = 0xD70064,
                             .reservedA = -1,
                             .reservedB = -2,
                             .reservedC = 3,
                             .processId = 4711};
    const ByteVector expected = Bytes()
                                    .Text("PLCN")
                                    .U8(1)
                                    .U8(4)
                                    .U16(3)
                                    .U64(0x0102030405060708)
                                    .U64(9)
                                    .I32(0xD70000)
                                    .I32(0xD80000)
                                    .I32(0xD70064)
                                    .I32(-1)
                                    .I32(-2)
                                    .I32(3)
                                    .U32(4711)
                                    .U32(5)
                                    .U32(2)
                                    .U32(0)
                                    .Raw(Counting(5))
                                    .Text("me");
    EXPECT_EQ(MakeFrame(header, Counting(5), "me"), expected);
    const auto read = ipc::ReadFrame(expected);
    ASSERT_TRUE(read);
    EXPECT_EQ(MakeFrame(*read, Counting(5), "me"), expected);
}

struct BadFrame {
    const char* what;
    ByteVector bytes;
};

std::vector<BadFrame> BadFrames()
{
    const FrameHeader good{.kind = FrameKind::kRequest, .flags = ipc::kHasPayload};
    const ByteVector sound = MakeFrame(good, Counting(20), "me");
    const auto with = [&](std::size_t offset, std::uint8_t value) {
        ByteVector bytes = sound;
        bytes.at(offset) = value;
        return bytes;
    };
    const auto withU32 = [&](std::size_t offset, std::uint32_t value) {
        ByteVector bytes = sound;
        const ByteVector number = Bytes().U32(value);
        std::copy(number.begin(), number.end(), bytes.begin() + static_cast<long>(offset));
        return bytes;
    };
    ByteVector trailing = sound;
    trailing.push_back(0);
    return {{"nothing", {}},
            {"half a header", ByteVector(sound.begin(), sound.begin() + 32)},
            {"a header without what it announces", ByteVector(sound.begin(), sound.begin() + 64)},
            {"one byte short", ByteVector(sound.begin(), sound.end() - 1)},
            {"a byte too many", trailing},
            {"magic", with(0, 'p')},
            {"version 0", with(4, 0)},
            {"version 2", with(4, 2)},
            {"kind 0", with(5, 0)},
            {"kind 12", with(5, 12)},
            {"kind 255", with(5, 255)},
            {"unknown flag", with(6, 17)},
            {"unknown flag, high", with(7, 128)},
            {"payload but no flag", with(6, 0)},
            {"payload length", withU32(52, 19)},
            {"payload length beyond the limit", withU32(52, 65'537)},
            {"payload length beyond all", withU32(52, 0xFFFFFFFF)},
            {"name length", withU32(56, 3)},
            {"name length beyond the limit", withU32(56, 256)},
            {"lengths that add up by overflow",
             [&] {
                 ByteVector bytes = withU32(52, 0xFFFFFFFF);
                 const ByteVector number = Bytes().U32(23);
                 std::copy(number.begin(), number.end(), bytes.begin() + 56);
                 return bytes;
             }()},
            {"the last word", withU32(60, 1)}};
}

TEST(FrameTest, OtherBytesAreNoFrame)
{
    for (const BadFrame& bad : BadFrames()) {
        EXPECT_FALSE(ipc::ReadFrame(bad.bytes)) << bad.what;
    }
}

TEST(FrameTest, LimitsAreInclusive)
{
    const FrameHeader header{.kind = FrameKind::kRequest, .flags = ipc::kHasPayload};
    EXPECT_TRUE(ipc::ReadFrame(MakeFrame(header, ByteVector(65'536), std::string(255, 'n'))));
}

TEST(FrameTest, ABufferRefusesWhatIsLargerThanItself)
{
    FrameBuffer buffer;
    const ByteVector frame = MakeFrame({.kind = FrameKind::kPost});
    std::copy(frame.begin(), frame.end(), buffer.Room().begin());
    EXPECT_TRUE(buffer.Read(frame.size()));
    EXPECT_FALSE(buffer.Read(buffer.Room().size() + 1));
    EXPECT_FALSE(buffer.Read(static_cast<std::size_t>(-1)));
}

TEST(FrameTest, AnItemsPayloadIsPaddedInAUsedBuffer)
{
    FrameBuffer buffer;
    std::fill(buffer.Room().begin(), buffer.Room().end(), std::uint8_t{0xEE});
    const FrameHeader header{.kind = FrameKind::kNotification, .flags = ipc::kHasPayload};
    for (const std::size_t size : {100U, 3000U, 7U, 65'536U, 0U, 2048U, 2047U, 1024U, 1023U, 1U}) {
        SCOPED_TRACE(size);
        const ByteVector frame = MakeFrame(header, Counting(size), std::string(255, 'n'));
        std::copy(frame.begin(), frame.end(), buffer.Room().begin());
        const auto read = buffer.Read(frame.size());
        ASSERT_TRUE(read);

        TagIPCMessageItem copied;
        ASSERT_TRUE(buffer.CopyItem(*read, copied));
        TagIPCMessageItem item;
        buffer.Item(*read, item);
        ByteVector expected = Counting(size);
        expected.resize(std::max<std::size_t>(2048, size + 1));
        EXPECT_EQ(ByteVector(item.message, item.message + expected.size()), expected);
        expected.resize(size != 0 ? std::max<std::size_t>(1024, size + 1) : 2048);
        EXPECT_EQ(ByteVector(copied.message, copied.message + expected.size()), expected);
        EXPECT_EQ(item.name, std::string(255, 'n'));
        EXPECT_EQ(copied.name, item.name);
        std::free(copied.message);
    }
}

}  // namespace

}  // namespace pelacon::test
