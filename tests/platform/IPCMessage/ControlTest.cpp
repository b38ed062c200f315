// Operators: commands, and watching the notifications to clients.
#include <IPCMessage/IPCControl.h>
#include <os/Processes.h>
#include <tests/platform/IPCMessage/Fixture.h>
#include <tests/platform/IPCMessage/RawPeers.h>

#include <atomic>

namespace pelacon::test {

namespace {

using Kind = IPCControlError::Kind;

class ControlTest : public ChannelTest {
  protected:
    std::optional<std::string> Send(std::string_view command, milliseconds timeout = kPatience)
    {
        return IPCSendControl(kPipe, command, timeout, error);
    }

    IPCControlError error{};
};

TEST_F(ControlTest, ACommandIsAnswered)
{
    handler.onControl = [](std::string_view command) { return "did " + std::string(command); };
    StartServer();
    EXPECT_EQ(Send("this"), "did this");
    EXPECT_EQ(Send(""), "did ");
    const std::string longest(65'536, 'x');
    EXPECT_EQ(Send(longest), "did " + longest);
    EXPECT_EQ(handler.arrived.Count(), 0U);
}

TEST_F(ControlTest, AnAnswerMayBeOfAnyLength)
{
    StartServer();
    for (const std::size_t size : {0U, 65'536U, 65'537U, 1'000'000U}) {
        std::string answer(size, 'a');
        for (std::size_t at = 0; at < size; at += 100) {
            answer[at] = static_cast<char>('b' + at % 23);
        }
        handler.onControl = [&](std::string_view) { return answer; };
        EXPECT_EQ(Send("tell"), answer);
    }
}

TEST_F(ControlTest, AMissingAnswerHasItsReason)
{
    EXPECT_FALSE(Send("anybody?"));
    EXPECT_EQ(error.kind, Kind::kNoService);
    EXPECT_FALSE(error.message.empty());

    handler.onControl = [&](std::string_view) {
        gate.Pass();
        return std::string();
    };
    StartServer();
    const auto duration = Duration([&] { EXPECT_FALSE(Send("wait", 50ms)); });
    EXPECT_EQ(error.kind, Kind::kTimeout);
    EXPECT_GE(duration, 50ms);
    gate.Open();

    EXPECT_FALSE(Send(std::string(65'537, 'x')));
    EXPECT_EQ(error.kind, Kind::kRefused);
}

TEST_F(ControlTest, ALostServiceAndABadAnswerHaveTheirReasons)
{
    RawService service;
    std::thread operators([&] {
        auto one = service.Accept(ipc::FrameKind::kControl);
        one.reset();
        one = service.Accept(ipc::FrameKind::kControl);
        one->SendBytes(Counting(100));
        one = service.Accept(ipc::FrameKind::kControl);
        one->Send({.kind = ipc::FrameKind::kRefused});
    });
    EXPECT_FALSE(Send("one"));
    EXPECT_EQ(error.kind, Kind::kLost);
    EXPECT_FALSE(Send("two"));
    EXPECT_EQ(error.kind, Kind::kLost);
    EXPECT_FALSE(Send("three"));
    EXPECT_EQ(error.kind, Kind::kRefused);
    operators.join();
}

TEST_F(ControlTest, ThePlacesShowWhetherAServiceAnswersThere)
{
    using State = IPCPlace::State;
    const auto place = [] { return IPCExaminePlaces(kPipe, kPatience).back(); };
    EXPECT_EQ(place().state, State::kNoService);
    EXPECT_FALSE(place().reason.empty());
    StartServer();
    const IPCPlace served = place();
    EXPECT_EQ(served.state, State::kServed);
    EXPECT_EQ(served.processId, os::CurrentProcessId());
    EXPECT_FALSE(served.user.empty());
    EXPECT_TRUE(served.reason.empty());
    server.reset();

    RawService service;
    std::thread closing([&] { service.Accept(ipc::FrameKind::kControl).reset(); });
    EXPECT_EQ(place().state, State::kTurnedAway);
    closing.join();
    EXPECT_EQ(IPCExaminePlaces(kPipe, 50ms).back().state, State::kSilent);
}

TEST_F(ControlTest, ACommandThatClosesAllConnectionsIsAnswered)
{
    StartBoth();
    handler.onControl = [&](std::string_view) {
        server->DisconnectAll();
        return std::string("done");
    };
    EXPECT_EQ(Send("disconnect"), "done");
    handler.left.WaitFor(1);
    handler.arrived.WaitFor(2);
}

TEST_F(ControlTest, AWatcherReceivesTheNotificationsToAllClients)
{
    StartBoth();
    IPCMessageClient other(1, false, false, kPipe);
    const IPCClientInfo otherInfo = handler.arrived.WaitFor(2).back();
    Mailbox<Message> seen;
    Gate watching;
    std::thread watcher([&] {
        const bool ended = IPCWatchNotifications(
            kPipe, 5ms,
            [&](const TagIPCMessageItem* item) {
                watching.Open();  // no notification is sent yet
                if (item != nullptr) {
                    seen.Put(Message(*item));
                }
                return seen.Count() < 3;
            },
            error);
        EXPECT_TRUE(ended);
    });
    ASSERT_TRUE(watching.Pass());
    EXPECT_TRUE(server->Notify(clientId, 7, Counting(5)));
    EXPECT_FALSE(server->Notify(clientId + 100, 7, Counting(5)));
    EXPECT_TRUE(server->Notify(otherInfo.id, 8, {}));
    EXPECT_TRUE(server->Notify(clientId, 9, Counting(70)));
    const auto all = seen.WaitFor(3);
    watcher.join();
    EXPECT_EQ(all[0].item.msgId, 7);
    EXPECT_EQ(all[0].payload, Counting(5));
    EXPECT_EQ(all[0].item.processId, otherInfo.processId);  // both are this process
    EXPECT_EQ(all[1].item.msgId, 8);
    EXPECT_EQ(all[2].payload, Counting(70));
    EXPECT_TRUE(server->Notify(clientId, 7, {}));  // no watcher is left
}

TEST_F(ControlTest, AWatcherEndsWithTheService)
{
    const auto visitor = [&](const TagIPCMessageItem*) {
        server.reset();
        return true;
    };
    EXPECT_FALSE(IPCWatchNotifications(kPipe, 1ms, visitor, error));
    EXPECT_EQ(error.kind, Kind::kNoService);
    StartServer();
    EXPECT_FALSE(IPCWatchNotifications(kPipe, 1ms, visitor, error));
    EXPECT_EQ(error.kind, Kind::kLost);
}

TEST_F(ControlTest, AWatcherThatDoesNotReadDelaysNoClient)
{
    StartBoth();
    RawClient idler;
    ASSERT_TRUE(idler.Send({.kind = ipc::FrameKind::kWatch}));
    EXPECT_EQ(idler.Receive()->kind, ipc::FrameKind::kWelcome);
    std::atomic<int> calls{0};
    const Ending ending(*this);
    client->RegisterMessageCallback(7, [&](TagIPCMessageItem&) { ++calls; });
    constexpr int kCount = 3000;
    for (int number = 1; number <= kCount; ++number) {
        ASSERT_TRUE(server->Notify(clientId, 7, Counting(64)));
        if (number % 200 == 0) {
            ASSERT_TRUE(Eventually([&] { return calls == number; }));
        }
    }
    EXPECT_TRUE(Eventually([&] { return calls == kCount; }));
    EXPECT_EQ(server->GetStatistics().notificationsDropped,
              0U);  // only those of clients are counted
    EXPECT_EQ(server->GetStatistics().slowClients, 0U);
}

}  // namespace

}  // namespace pelacon::test
