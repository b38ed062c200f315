#include <service/linux/netlink/Socket.h>
#include <tests/service/linux/NetlinkBytes.h>
#include <tests/service/linux/SocketPair.h>

#include <gmock/gmock.h>

#include <cerrno>

namespace pelacon::service::linux_radios::tests {

namespace {

using netlink::Attributes;
using netlink::Message;
using netlink::Request;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint16_t kFamily = 28;
constexpr std::uint16_t kInterrupted = 0x10;

TEST(NetlinkAttributes, AreReadByTheirTypes)
{
    const Octets bytes = Attribute(1, std::uint32_t{7}) + Attribute(2, "wlan0") + Attribute(3) +
                         Nest(4, Attribute(9, std::uint32_t{8}));
    const Attributes attributes(bytes);
    EXPECT_EQ(attributes.Get<std::uint32_t>(1), 7U);
    EXPECT_EQ(attributes.Get<std::uint64_t>(1), std::nullopt) << "it is shorter";
    EXPECT_EQ(attributes.Text(2), "wlan0");
    EXPECT_TRUE(attributes.Has(3));
    EXPECT_EQ(attributes.Nested(4).Get<std::uint32_t>(9), 8U);
    EXPECT_FALSE(attributes.Has(5));
    EXPECT_EQ(attributes.Text(5), std::nullopt);
    EXPECT_THAT(attributes.Nested(5).All(), IsEmpty());
}

TEST(NetlinkAttributes, EndWhereTheBytesAreWrong)
{
    const Octets right = Attribute(1, std::uint32_t{7});
    for (const Octets& wrong : {Octets{3, 0, 2, 0}, Octets{9, 0, 2, 0, 1}, Octets{8, 0},
                                Octets{0xFF, 0xFF, 2, 0, 1, 2, 3, 4}}) {
        const Octets bytes = right + wrong;
        const Attributes attributes(bytes);
        EXPECT_EQ(attributes.All().size(), 1U);
        EXPECT_EQ(attributes.Get<std::uint32_t>(1), 7U);
    }
}

class ANetlinkSocket : public LoopTest {
  protected:
    ANetlinkSocket()
    {
        Do([this] {
            socket = std::make_unique<netlink::Socket>(
                loop,
                netlink::Endpoint{std::move(sockets.service),
                                  [this](std::uint32_t group) { joined.push_back(group); }},
                [this](const Message& event) { events.push_back(event.command); },
                [this] { ++missed; });
        });
    }
    ~ANetlinkSocket() override
    {
        Do([this] { socket.reset(); });
    }

    void Send(std::uint8_t command, Request::Kind kind = Request::Kind::kDo)
    {
        Do([&] {
            socket->Send(
                Request(kFamily, command, kind),
                [this](const Message& message) {
                    answers.push_back(message.attributes.Get<std::uint32_t>(1).value_or(0));
                },
                [this](int error) { results.push_back(error); });
        });
    }
    /// The number of the next request, which has this command.
    std::uint32_t NextRequest(std::uint8_t command)
    {
        const Octets packet = sockets.Receive();
        EXPECT_GE(packet.size(), 20U);
        EXPECT_EQ(packet.at(4), kFamily);
        EXPECT_EQ(packet.at(16), command);
        std::uint32_t sequence = 0;
        std::memcpy(&sequence, packet.data() + 8, sizeof sequence);
        return sequence;
    }
    static Octets Answer(std::uint32_t sequence, std::uint32_t value)
    {
        return FamilyMessage(kFamily, sequence, 1, Attribute(1, value), 2);
    }
    bool Ends(std::size_t requests)
    {
        return Eventually([&] { return results.size() == requests; });
    }

    SocketPair sockets;
    std::vector<std::uint32_t> joined;
    std::vector<std::uint8_t> events;
    std::vector<std::uint32_t> answers;
    std::vector<int> results;
    int missed = 0;
    std::unique_ptr<netlink::Socket> socket;
};

TEST_F(ANetlinkSocket, SendsOneRequestAfterTheOther)
{
    Send(5);
    Send(6);
    const std::uint32_t first = NextRequest(5);
    sockets.Send(Answer(first, 3) + Acknowledgement(first));
    const std::uint32_t second = NextRequest(6);
    sockets.Send(Acknowledgement(second, EPERM));
    ASSERT_TRUE(Ends(2));
    EXPECT_THAT(results, ElementsAre(0, EPERM));
    EXPECT_THAT(answers, ElementsAre(3U));
}

TEST_F(ANetlinkSocket, ReadsDumpsOfSeveralDatagrams)
{
    Send(5, Request::Kind::kDump);
    const std::uint32_t number = NextRequest(5);
    sockets.Send(Answer(number, 1) + Answer(number, 2));
    sockets.Send(Answer(number, 3));
    sockets.Send(EndOfDump(number));
    ASSERT_TRUE(Ends(1));
    EXPECT_THAT(answers, ElementsAre(1U, 2U, 3U));
    EXPECT_THAT(results, ElementsAre(0));
}

TEST_F(ANetlinkSocket, ReportsADumpThatWasInterrupted)
{
    Send(5, Request::Kind::kDump);
    const std::uint32_t number = NextRequest(5);
    sockets.Send(EndOfDump(number, kInterrupted));
    ASSERT_TRUE(Ends(1));
    EXPECT_THAT(results, ElementsAre(EINTR));
}

TEST_F(ANetlinkSocket, ReportsADumpThatBrokeOff)
{
    Send(5, Request::Kind::kDump);
    const std::uint32_t first = NextRequest(5);
    sockets.Send(Answer(first, 1) + EndOfDump(first, 0, ENODEV));
    ASSERT_TRUE(Ends(1));
    Send(5, Request::Kind::kDump);
    sockets.Send(NetlinkMessage(3, NextRequest(5), {}));  // without a result
    ASSERT_TRUE(Ends(2));
    EXPECT_THAT(results, ElementsAre(ENODEV, 0));
}

TEST_F(ANetlinkSocket, DistinguishesEventsFromAnswers)
{
    Send(5);
    const std::uint32_t number = NextRequest(5);
    sockets.Send(FamilyMessage(kFamily, 0, 34, {}));
    sockets.Send(Answer(number + 7, 9));  // to a request that was never sent
    sockets.Send(Acknowledgement(number));
    ASSERT_TRUE(Ends(1));
    EXPECT_THAT(events, ElementsAre(34));
    EXPECT_THAT(answers, IsEmpty());
}

TEST_F(ANetlinkSocket, FindsAFamilyAndItsGroups)
{
    std::vector<netlink::Family> found;
    const auto find = [&] {
        Do([&] {
            socket->FindFamily("nl80211",
                               [&](const netlink::Family& family) { found.push_back(family); });
        });
        const Octets request = sockets.Receive();
        EXPECT_EQ(request.at(16), 3) << "get the family";
        EXPECT_EQ(Attributes(std::span(request).subspan(20)).Text(2), "nl80211");
        std::uint32_t sequence = 0;
        std::memcpy(&sequence, request.data() + 8, sizeof sequence);
        return sequence;
    };
    const std::uint32_t first = find();
    const Octets groups = List(7, {Attribute(1, "config") + Attribute(2, std::uint32_t{5}),
                                   Attribute(1, "scan") + Attribute(2, std::uint32_t{6})});
    sockets.Send(FamilyMessage(16, first, 1, Attribute(1, OctetsOf(std::uint16_t{28})) + groups));
    sockets.Send(Acknowledgement(first));
    ASSERT_TRUE(Eventually([&] { return found.size() == 1; }));
    EXPECT_EQ(found[0].number, 28);
    EXPECT_EQ(found[0].groups, (std::map<std::string, std::uint32_t>{{"config", 5}, {"scan", 6}}));

    sockets.Send(Acknowledgement(find(), ENOENT));
    ASSERT_TRUE(Eventually([&] { return found.size() == 2; }));
    EXPECT_EQ(found[1].number, 0);
    EXPECT_THAT(joined, ElementsAre(16U, 16U)) << "for news of families";
}

TEST_F(ANetlinkSocket, IsIdleOnceTheKernelHasClosedIt)
{
    sockets.kernel.Close();
    Send(5);
    ASSERT_TRUE(Ends(1));
    EXPECT_THAT(results, ElementsAre(EPIPE));
    // A timer wakes the loop once or twice; a socket that is ready all the time does so meanwhile.
    constexpr unsigned kTimers = 20;
    constexpr unsigned kMostTurns = 4 * kTimers;
    unsigned count = 0;
    std::uint64_t turns = 0;
    Loop::Timer timer;
    std::promise<void> end;
    const std::function<void()> wait = [&] {
        if (count++ == kTimers) {
            turns = loop.Turns() - turns;
            end.set_value();
        } else {
            timer = loop.After(std::chrono::milliseconds(1), wait);
        }
    };
    Do([&] {
        turns = loop.Turns();
        wait();
    });
    ASSERT_EQ(end.get_future().wait_for(kPatience), std::future_status::ready);
    Do([&] { timer.Cancel(); });
    EXPECT_LT(turns, kMostTurns);
}

}  // namespace

}  // namespace pelacon::service::linux_radios::tests
