#include <protocol/BleManager.h>
#include <protocol/ServiceLink.h>
#include <service/base/Log.h>
#include <service/core/Sessions.h>
#include <tests/service/RecordingTransport.h>
#include <tests/service/TestClient.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>

namespace pelacon::service::tests {
namespace {

using namespace std::chrono_literals;

/// Notes the calls about clients.
class NotingFamily : public Family {
  public:
    NotingFamily(Scheduler& scheduler, std::string& notes) : scheduler_(scheduler), notes_(notes) {}

    void ClientArrived(Session& session, bool returning) override
    {
        Note(returning ? "back" : "new", session);
    }
    void ClientLeft(Session& session) override { Note("gone", session); }

  private:
    void Note(const char* what, const Session& session)
    {
        notes_ += std::string(what) + std::to_string(session.ClientId()) + " ";
        scheduler_.Wake();
    }

    Scheduler& scheduler_;
    std::string& notes_;
};

class SessionsTest : public testing::Test {
  protected:
    SessionsTest()
    {
        log::wantedLevel = LogLevel::kError;
        families_.push_back(std::make_unique<NotingFamily>(scheduler_, notes_));
    }

    Scheduler scheduler_{1};
    RecordingTransport transport_;
    std::string notes_;
    Sessions::Families families_;
    Scheduler::Guard lock_ =
        scheduler_.Lock();  // destroyed, and so released, before the members above
    Sessions sessions_{scheduler_, transport_, families_, 1ms};
};

TEST_F(SessionsTest, FamiliesAreCalledForArrivingAndLeavingClients)
{
    sessions_.Arrive({3, 33, false});
    sessions_.Arrive({4, 44, true});
    EXPECT_EQ(sessions_.Find(3)->ProcessId(), 33U);
    sessions_.Leave(3);
    sessions_.Leave(3);
    EXPECT_EQ(notes_, "new3 back4 gone3 ");
    EXPECT_EQ(sessions_.Find(3), nullptr);
}

TEST_F(SessionsTest, OnlyReturningClientsAreGreeted)
{
    sessions_.Arrive({3, 33, false});
    EXPECT_TRUE(transport_.sent.empty());
    sessions_.Arrive({4, 44, true});
    ASSERT_EQ(transport_.sent.size(), 1U);
    EXPECT_EQ(transport_.sent[0].clientId, 4U);
    EXPECT_EQ(transport_.sent[0].messageId, protocol::kServiceStarted.id);
}

TEST_F(SessionsTest, AReturningClientHasANewSession)
{
    sessions_.Arrive({3, 33, false});
    const std::shared_ptr<Session> before = sessions_.Of(3);
    sessions_.Leave(3);
    EXPECT_FALSE(before->IsPresent());
    sessions_.Arrive({3, 33, true});
    EXPECT_NE(sessions_.Find(3), before.get());
    EXPECT_TRUE(sessions_.Find(3)->IsPresent());
}

TEST_F(SessionsTest, ARequestBeforeTheArrivalOpensASession)
{
    const std::shared_ptr<Session> early = sessions_.Of(5);
    EXPECT_EQ(sessions_.Find(5), nullptr) << "not there yet";
    sessions_.Arrive({5, 55, false});
    EXPECT_EQ(sessions_.Find(5), early.get());
    EXPECT_EQ(early->ProcessId(), 55U);
    EXPECT_FALSE(scheduler_.Wait(5ms, [&] { return notes_ != "new5 "; })) << notes_;
}

TEST_F(SessionsTest, AClientThatNeverArrivesIsForgotten)
{
    const std::shared_ptr<Session> early = sessions_.Of(5);
    EXPECT_TRUE(scheduler_.Wait(kPatience, [&] { return notes_ == "gone5 "; }));
    EXPECT_FALSE(early->IsPresent());
    EXPECT_NE(sessions_.Of(5), early);
}

TEST_F(SessionsTest, ARequestProlongsTheSessionOfAnAbsentClient)
{
    constexpr auto kGrace = 200ms;
    Sessions sessions(scheduler_, transport_, families_, kGrace);
    sessions.Of(5);
    EXPECT_FALSE(scheduler_.Wait(kGrace / 2, [&] { return !notes_.empty(); })) << notes_;
    const auto begin = Scheduler::Clock::now();
    sessions.Of(5);
    EXPECT_TRUE(scheduler_.Wait(kPatience, [&] { return notes_ == "gone5 "; }));
    EXPECT_GE(Scheduler::Clock::now() - begin, kGrace);
}

TEST_F(SessionsTest, EndingAllSessionsCallsNoFamily)
{
    sessions_.Arrive({3, 33, false});
    const std::shared_ptr<Session> arrived = sessions_.Of(3);
    const std::shared_ptr<Session> early = sessions_.Of(5);
    sessions_.EndAll();
    EXPECT_FALSE(arrived->IsPresent());
    EXPECT_FALSE(early->IsPresent());
    EXPECT_EQ(notes_, "new3 ");
}

TEST_F(SessionsTest, PresentClientsAreListedInOrder)
{
    sessions_.Arrive({9, 1, false});
    sessions_.Arrive({2, 1, false});
    sessions_.Of(5);
    sessions_.Arrive({7, 1, false});
    std::string ids;
    for (const auto& session : sessions_.Present()) {
        ids += std::to_string(session->ClientId()) + " ";
    }
    EXPECT_EQ(ids, "2 7 9 ");
}

}  // namespace
}  // namespace pelacon::service::tests
