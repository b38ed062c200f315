#include <service/linux/wifi/Leases.h>
#include <service/linux/wifi/SupplicantControl.h>
#include <tests/service/linux/SocketPair.h>

#include <gmock/gmock.h>

#include <system_error>

namespace pelacon::service::linux_radios::tests {

namespace {

using testing::ElementsAre;
using testing::Pair;
using wifi::ReadSupplicantEvent;
using wifi::SupplicantControl;
using wifi::SupplicantEvent;
using SupplicantKind = SupplicantEvent::Kind;

std::vector<std::uint8_t> Datagram(const std::string& text)
{
    return {text.begin(), text.end()};
}

TEST(AnEventOfTheSupplicant, IsDecoded)
{
    const auto kindOf = [](const char* text) { return ReadSupplicantEvent(text).kind; };
    EXPECT_EQ(kindOf("<3>AP-ENABLED "), SupplicantKind::kUp);
    EXPECT_EQ(kindOf("<3>AP-DISABLED "), SupplicantKind::kDown);
    EXPECT_EQ(kindOf("<3>CTRL-EVENT-TERMINATING "), SupplicantKind::kEnding);
    EXPECT_EQ(kindOf("<3>CTRL-EVENT-SCAN-STARTED "), SupplicantKind::kOther);
    EXPECT_EQ(kindOf(""), SupplicantKind::kOther);
    EXPECT_EQ(kindOf("<3>AP-STA-CONNECTED nobody"), SupplicantKind::kOther);

    const SupplicantEvent joined = ReadSupplicantEvent("<3>AP-STA-CONNECTED 02:00:00:00:01:ab");
    EXPECT_EQ(joined.kind, SupplicantKind::kStationJoined);
    EXPECT_EQ(joined.station, 0x0200000001ABU);
    const SupplicantEvent left = ReadSupplicantEvent("<3>AP-STA-DISCONNECTED 02:00:00:00:01:ab x");
    EXPECT_EQ(left.kind, SupplicantKind::kStationLeft);
    EXPECT_EQ(left.station, 0x0200000001ABU);
    const SupplicantEvent moved = ReadSupplicantEvent("<3>AP-CSA-FINISHED freq=2462 dfs=0");
    EXPECT_EQ(moved.kind, SupplicantKind::kMoved);
    EXPECT_EQ(moved.frequency, 2462U);
}

class TheSupplicant : public LoopTest {
  protected:
    TheSupplicant()
    {
        Do([this] {
            control = std::make_unique<SupplicantControl>(
                loop, std::move(sockets.service),
                [this](const SupplicantEvent& event) { events.push_back(event.kind); },
                std::chrono::milliseconds(300));
        });
    }
    ~TheSupplicant() override
    {
        Do([this] { control.reset(); });
    }

    void Send(const char* command)
    {
        Do([&] {
            control->Send(command,
                          [this](const std::string& answer) { answers.push_back(answer); });
        });
    }
    bool Answers(std::size_t count)
    {
        return Eventually([&] { return answers.size() == count; });
    }

    SocketPair sockets;
    std::vector<SupplicantKind> events;
    std::vector<std::string> answers;
    std::unique_ptr<SupplicantControl> control;
};

TEST_F(TheSupplicant, AnswersOneCommandAfterTheOther)
{
    Send("ATTACH");
    Send("PING");
    EXPECT_EQ(sockets.Receive(), Datagram("ATTACH"));
    sockets.Send(Datagram("<3>AP-ENABLED "));
    sockets.Send(Datagram("OK\n"));
    EXPECT_EQ(sockets.Receive(), Datagram("PING"));
    sockets.Send(Datagram("PONG\n"));
    ASSERT_TRUE(Answers(2));
    EXPECT_THAT(answers, ElementsAre("OK", "PONG"));
    EXPECT_THAT(events, ElementsAre(SupplicantKind::kUp));
}

TEST_F(TheSupplicant, DoesNotAnswerOnceItIsGone)
{
    sockets.kernel.Close();
    Send("PING");
    ASSERT_TRUE(Answers(1));
    EXPECT_THAT(answers, ElementsAre(""));
}

TEST_F(TheSupplicant, IsGivenUpAfterAWhile)
{
    Send("PING");
    ASSERT_TRUE(Answers(1));
    EXPECT_THAT(answers, ElementsAre(""));
}

TEST(TheSupplicantsSocket, MayBeAbsent)
{
    EXPECT_THROW(wifi::ConnectToSupplicant("/nowhere/wpa/pelacon0"), std::system_error);
    EXPECT_THROW(wifi::ConnectToSupplicant(std::string(200, 'x')), std::system_error);
}

TEST(Leases, AreReadByStation)
{
    using wifi::Lease;
    EXPECT_THAT(wifi::ReadLeases("1700000000 02:00:00:00:01:00 192.168.49.10 phone 01:02\n"
                                 "1700000001 02:00:00:00:01:ab 192.168.49.11 * *\n"
                                 "1600000000 02:00:00:00:01:ab 192.168.49.12 * 01:03\n"
                                 "duid 00:01\n"
                                 "1700000002 123456 fd00::1 host 00:01\n"
                                 "1700000003 02:00:00:00:01:01\n"
                                 "broken"),
                ElementsAre(Pair(0x020000000100U, Lease{"192.168.49.10", 1'700'000'000}),
                            Pair(0x0200000001ABU, Lease{"192.168.49.11", 1'700'000'001})));
    EXPECT_TRUE(wifi::ReadLeases("").empty());
}

}  // namespace

}  // namespace pelacon::service::linux_radios::tests
