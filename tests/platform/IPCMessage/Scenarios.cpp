#include <tests/platform/IPCMessage/Scenarios.h>

namespace pelacon::test {

std::uint32_t CallsThatWentWrong(const IPCMessageClient& client, std::size_t threads,
                                 std::uint32_t each)
{
    std::atomic<std::uint32_t> wrong{0};
    OnThreads(threads, [&](std::size_t index) {
        for (std::uint32_t call = 0; call < each; ++call) {
            const auto thread = static_cast<std::uint32_t>(index);
            const ByteVector payload = Bytes().U32(thread).U32(call).Fill(call % 200, 0xEE);
            const auto messageId = static_cast<std::int32_t>(thread * each + call);
            const auto answer = Request(client, messageId, payload);
            if (!answer || answer->Bytes() != payload || answer->item.msgId != messageId) {
                ++wrong;
            }
        }
    });
    return wrong;
}

Clock::duration Overrun(const IPCMessageClient& client, milliseconds timeout)
{
    Mailbox<Clock::duration> durations;
    OnThreads(20, [&](std::size_t) {
        const auto duration = Duration(
            [&] { EXPECT_FALSE(IsServed(client, static_cast<unsigned>(timeout.count()))); });
        EXPECT_GE(duration, timeout);
        durations.Put(duration);
    });
    return Median(durations.All()) - timeout;
}

Clock::duration PauseBetweenAttempts(RawService& service)
{
    auto turnedAway = service.Accept(ipc::FrameKind::kHelloEvent);
    return Duration([&] {
        turnedAway.reset();
        service.WaitFor(ipc::FrameKind::kHelloEvent);
    });
}

Stream::Stream(Handler& handler, IPCMessageServer& server)
    : thread_([this, &handler, &server] {
          while (!ended_) {
              if (const auto last = handler.LastArrived()) {
                  server.Notify(*last, 7, Counting(64), IPCMessageServer::Urgency::kDroppable);
              }
              std::this_thread::yield();
          }
      })
{}

Stream::~Stream()
{
    ended_ = true;
    thread_.join();
}

namespace {

void StartAndStop(Handler& handler, int rounds)
{
    for (int round = 0; round < rounds; ++round) {
        const std::size_t arrivals = handler.arrived.Count();
        IPCMessageClient client(1, false, false, kPipe);
        std::atomic<int> calls{0};
        client.RegisterMessageCallback(7, [&](TagIPCMessageItem&) {
            if (++calls % 64 == 0) {
                IsServed(client);
            }
        });
        std::thread caller;
        if (round % 2 == 0) {
            caller = std::thread([&] {
                while (IsServed(client)) {
                }
            });
        }
        if (round % 3 == 0) {
            handler.arrived.WaitFor(arrivals + 1);
            EXPECT_TRUE(IsServed(client));
        }
        client.UnRegisterMessageCallbackAll();
        if (caller.joinable()) {
            caller.join();
        }
    }
}

}  // namespace

void StartAndStopLeavesNothing(Handler& handler, const IPCMessageServer& server, int rounds)
{
    StartAndStop(handler, 5);  // allocates what is allocated only once
    const auto isIdle = [&] {
        const auto now = server.GetStatistics();
        return now.clients == 0 && now.callConnections == 0;
    };
    ASSERT_TRUE(Eventually(isIdle));
    std::size_t descriptors = OpenDescriptors();
    std::size_t threads = RunningThreads();
    ASSERT_TRUE(Eventually([&] {  // threads that are ending: until two samples are the same
        std::this_thread::sleep_for(20ms);
        const bool settled = descriptors == OpenDescriptors() && threads == RunningThreads();
        descriptors = OpenDescriptors();
        threads = RunningThreads();
        return settled;
    }));
    StartAndStop(handler, rounds);
    ASSERT_TRUE(Eventually(isIdle));
    EXPECT_TRUE(Eventually([&] { return OpenDescriptors() <= descriptors; }));
    EXPECT_TRUE(Eventually([&] { return RunningThreads() <= threads; }));
}

}  // namespace pelacon::test
