// What the members of a Bluetooth LE class have in common, checked by rows.
#pragma once

#include <tests/support/SdkTest.h>

#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace pelacon::test {

/// A member that sends a request of 5 s, and is answered with a status.
struct BleMember {
    const char* name;
    const char* ofClass;
    std::function<int(std::int32_t id)> call;
    std::int32_t requestId;
    std::function<ByteVector(std::int32_t id)> request;
    bool replyBeginsWithAnId = false;
    const char* lastLine = "end";
    const char* whenNotSent = nullptr;  ///< the level-4 line, if there is one
};

inline void PrintTo(const BleMember& member, std::ostream* out)
{
    *out << member.name;
}

/// "BleScanner::StopBleScan"
inline std::string Function(const BleMember& member)
{
    return std::string(member.ofClass) + "::" + member.name;
}

inline ByteVector Reply(const BleMember& member, std::int32_t id, std::int32_t status)
{
    return member.replyBeginsWithAnId ? Bytes().I32(id).I32(status) : Bytes().I32(status);
}

/// The lines of the member itself, without those of the registry and of events.
inline std::vector<LogLine> OwnLines(const BleMember& member)
{
    std::vector<LogLine> lines;
    for (const LogLine& line : LogLines::All()) {
        if (line.text.ends_with("(" + Function(member) + ")") &&
            line.text.find("VoView") == std::string::npos) {
            lines.push_back(line);
        }
    }
    return lines;
}

/// A status that the service made up passes through, and success is success.
inline void CheckAnswered(Channel& channel, const BleMember& member)
{
    const std::int32_t id = FreshId();
    for (const std::int32_t status : {42, -1, -9, -2147483647 - 1}) {
        channel.Reply(member.requestId, Reply(member, id, status));
        LogLines::Clear();
        channel.ForgetSent();
        EXPECT_EQ(member.call(id), status);
        EXPECT_THAT(channel.OnlyRequest(), RequestIs(member.requestId, member.request(id), 5000));
        const std::vector<LogLine> lines = OwnLines(member);
        ASSERT_GE(lines.size(), 2U);
        EXPECT_EQ(lines.front().level, 1);
        EXPECT_NE(lines.front().text.find("start"), std::string::npos);
        EXPECT_EQ(lines.back(), Line(1, member.lastLine, Function(member)));
    }
    EXPECT_THAT(Events::All(), ::testing::IsEmpty());
}

inline void CheckAnsweredWithNothing(Channel& channel, const BleMember& member)
{
    const std::int32_t id = FreshId();
    EXPECT_EQ(member.call(id), -9);
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(member.requestId, member.request(id), 5000));
    EXPECT_EQ(LogLines::All().back().level, 3);
    EXPECT_EQ(LogLines::All().back(), NoReply(Function(member)));
}

inline void CheckNotStarted(const BleMember& member)
{
    EXPECT_EQ(member.call(FreshId()), -1);
    const std::vector<LogLine> lines = LogLines::All();
    if (member.whenNotSent != nullptr) {
        ASSERT_GE(lines.size(), 3U);
        EXPECT_EQ(lines.back(), Line(4, member.whenNotSent, Function(member)));
        EXPECT_EQ(lines[lines.size() - 2], NotStarted());
    } else {
        ASSERT_GE(lines.size(), 2U);
        EXPECT_EQ(lines.back(), NotStarted());
    }
    EXPECT_THAT(Events::All(), ::testing::IsEmpty());
}

}  // namespace pelacon::test
