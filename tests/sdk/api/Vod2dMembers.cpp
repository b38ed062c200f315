#include "Vod2dMembers.h"

#include <PelaconSDK/Vod2dApi.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace pelacon::test {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST_P(Vod2dMembers, Answered)
{
    const Vod2dMember& member = GetParam();
    channel.Reply(member.requestId, member.reply);
    EXPECT_EQ(member.call(), 42);
    EXPECT_THAT(channel.OnlyRequest(),
                RequestIs(member.requestId, member.request, member.timeoutMs));
    EXPECT_THAT(LogLines::All(), ElementsAre(Start(member.Function()), End(member.Function())));
    EXPECT_THAT(Events::All(), IsEmpty());
    EXPECT_EQ(Threads::Started(), 0);
}

TEST_P(Vod2dMembers, AnsweredWithNothing)
{
    const Vod2dMember& member = GetParam();
    Threads::Use(ThreadMode::kKept);  // keeps the threads that list processes
    EXPECT_EQ(member.call(), -12);
    EXPECT_THAT(channel.OnlyRequest(),
                RequestIs(member.requestId, member.request, member.timeoutMs));
    ASSERT_GE(LogLines::All().size(), 2U);
    EXPECT_EQ(LogLines::All().front(), Start(member.Function()));
    EXPECT_EQ(LogLines::All().back(), NoReply(member.Function()));
}

TEST_P(Vod2dMembers, RunOneAtATime)
{
    // While the member waits for its answer, another one does not send its request.
    const Vod2dMember& member = GetParam();
    const bool isFrequency = member.requestId == kFrequency;
    std::mutex mutex;
    std::condition_variable changed;
    bool otherSent = false;
    channel.OnRequest(isFrequency ? kWifiActive : kFrequency, [&](const Sent& /*sent*/) {
        const std::lock_guard lock(mutex);
        otherSent = true;
        changed.notify_all();
    });
    std::thread other;
    bool sentMeanwhile = true;
    channel.OnRequest(member.requestId, [&](const Sent& /*sent*/) {
        other = std::thread([&] {
            bool active = false;
            return isFrequency ? Vod2dApi::Vod2dIsWifiActive(&active)
                               : Vod2dApi::Vod2dGetFrequency();
        });
        std::unique_lock lock(mutex);
        sentMeanwhile =
            changed.wait_for(lock, std::chrono::milliseconds(20), [&] { return otherSent; });
    });
    channel.Reply(member.requestId, member.reply);
    EXPECT_EQ(member.call(), 42);
    other.join();
    EXPECT_FALSE(sentMeanwhile);
    EXPECT_TRUE(otherSent);
}

TEST_P(Vod2dMembersStopped, Refused)
{
    const Vod2dMember& member = GetParam();
    EXPECT_EQ(member.call(), -1);
    EXPECT_THAT(LogLines::All(), ElementsAre(Start(member.Function()), NotStarted()));
    EXPECT_THAT(Events::All(), IsEmpty());
    EXPECT_EQ(Threads::Started(), 0);
}

void Vod2dArguments::ExpectRefusals(std::span<const Vod2dRefusal> refusals) const
{
    for (const Vod2dRefusal& refusal : refusals) {
        const std::string function = std::string("Vod2dApi::") + refusal.member;
        SCOPED_TRACE(function + ": " + refusal.text);
        ForgetWhatHappened();
        EXPECT_EQ(refusal.call(), refusal.result);
        EXPECT_THAT(channel.Requests(), IsEmpty());
        EXPECT_THAT(LogLines::All(),
                    ElementsAre(Start(function), Line(refusal.level, refusal.text, function)));
    }
}

}  // namespace pelacon::test
