// Users of one service that attack it, or each other.
#include <tests/reliability/Usage.h>
#include <tests/security/SecurityTest.h>

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace pelacon::test {

namespace {

using testing::HasSubstr;

/// A service of the system that serves all users.
class ClientsTest : public SecurityTest {
  protected:
    void SetUp() override
    {
        SecurityTest::SetUp();
        if (!IsSkipped()) {
            service = Service(kRoot);
            ASSERT_TRUE(IsReady(*service));
            Admit(0666);
        }
    }

    static void Admit(mode_t mode) { chmod(Socket("/run/pelacon").c_str(), mode); }

    std::unique_ptr<ChildProcess> service;
};

TEST_F(ClientsTest, TheGroupOfTheSocketDecidesWhoIsServed)
{
    Admit(0660);
    EXPECT_EQ(Outcome(Ada(), "call"), "not served");
    Own(Socket("/run/pelacon"), {0, Ada().group});
    EXPECT_EQ(Outcome(Ada(), "call"), "served");
    EXPECT_EQ(Outcome(Mallory(), "call"), "not served");
}

TEST_F(ClientsTest, OnlyTheServicesUserGivesCommands)
{
    EXPECT_EQ(Outcome(kRoot, "command"), "obeyed");
    EXPECT_THAT(Outcome(Mallory(), "command"), HasSubstr("its own user and root only"));
}

TEST_F(ClientsTest, AStolenTokenIsOfNoUse)
{
    const auto victim = Peer(Ada(), {"listen", "5"});
    ASSERT_EQ(victim->NextLine(), "welcome");
    for (const User& thief : {Mallory(), Ada()}) {  // another process of Ada's is another client
        const auto other = Peer(thief, {"listen", "5"});
        ASSERT_EQ(other->NextLine(), "welcome");
        other->Write("");
        EXPECT_EQ(other->Wait(), 0);
    }
    victim->Write("end");
    EXPECT_EQ(victim->NextLine(), "connected");
}

TEST_F(ClientsTest, DescriptorsThatAreSentAlongAreClosed)
{
    const Usage before = UsageOf(service->Id());
    const auto sender = Peer(Mallory(), {"pass", Socket("/run/pelacon")});
    EXPECT_EQ(sender->NextLine(), "100");
    EXPECT_EQ(UsageOf(service->Id()).descriptors, before.descriptors + 1) << "its connection";
}

TEST_F(ClientsTest, AFloodLeavesTheServiceToOthers)
{
    constexpr std::size_t kRoomKiB = PELACON_SECURITY_MEMORY_ROOM;
    const auto ada = Peer(Ada(), {"call-on"});
    ASSERT_EQ(ada->NextLine(), "served");
    const Usage before = UsageOf(service->Id());
    std::vector<std::unique_ptr<ChildProcess>> attackers;
    for (int number = 0; number < 2; ++number) {
        attackers.push_back(Peer(Mallory(), {"flood"}));
        ASSERT_EQ(attackers.back()->NextLine(), "flooding");
    }
    std::this_thread::sleep_for(std::chrono::seconds(2));  // the length of the attack
    EXPECT_EQ(Outcome(Ada(), "call"), "served") << "a new client";
    EXPECT_EQ(Outcome(kRoot, "command"), "obeyed");
    const Usage during = UsageNow(service->Id());
    ada->Write("end");
    const std::string longest = ada->NextLine().value_or("");
    std::cout << "the longest call during a flood: " << longest << " ms; before: " << before
              << "; during: " << during << std::endl;
    EXPECT_THAT(longest, testing::MatchesRegex("[0-9]+"));
    EXPECT_LT(std::stoi(longest), 5000);
    EXPECT_LT(during.memory, before.memory + kRoomKiB);
}

TEST_F(ClientsTest, IdleConnectionsLeaveTheServiceToOthers)
{
    constexpr int kProcesses = 4;  // of two users
    constexpr int kConnections = PELACON_SECURITY_CONNECTIONS / kProcesses;
    constexpr std::size_t kMostKiBPerConnection = PELACON_SECURITY_MEMORY_PER_CONNECTION;
    const Usage before = UsageOf(service->Id());
    std::vector<std::unique_ptr<ChildProcess>> idle;
    int open = 0;
    for (int number = 0; number < kProcesses; ++number) {
        idle.push_back(
            Peer(number % 2 == 0 ? Ada() : Mallory(), {"idle", std::to_string(kConnections)}));
        open += std::stoi(idle.back()->NextLine().value_or("0"));
    }
    EXPECT_EQ(Outcome(kRoot, "call"), "served");
    EXPECT_EQ(Outcome(kRoot, "command"), "obeyed");
    EXPECT_EQ(Outcome({65533, 65533}, "call"), "served") << "a user who has no connection";
    const Usage during = UsageNow(service->Id());
    std::cout << open << " of " << kProcesses * kConnections
              << " idle connections; before: " << before << "; during: " << during << std::endl;
    EXPECT_GT(open, kProcesses * kConnections / 2);
    EXPECT_LT(during.memory,
              before.memory + static_cast<std::size_t>(open) * kMostKiBPerConnection);
    idle.clear();
    const Usage after = UsageOf(service->Id());
    EXPECT_LE(after.descriptors, before.descriptors + 1);
    EXPECT_LE(after.threads, before.threads + 1);
}

}  // namespace

}  // namespace pelacon::test
