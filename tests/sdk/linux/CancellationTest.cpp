// Threads that are cancelled inside an operation.
#include <PelaconSDK/BleManager.h>
#include <tests/support/SdkTest.h>

#include <pthread.h>
#include <unistd.h>

#include <future>

namespace pelacon::test {

namespace {

struct Caller {
    std::promise<void> inRequest;
    int answer[2] = {-1, -1};
    BleStatusC status = kBleStatusFailed;
};

void* Call(void* argument)
{
    auto& caller = *static_cast<Caller*>(argument);
    caller.status = BtEnable();
    pthread_testcancel();
    return nullptr;
}

TEST_F(SdkTest, ACancelledThreadEndsBehindItsOperation)
{
    Caller caller;
    ASSERT_EQ(pipe(caller.answer), 0);
    channel.Reply(0xD7005C, Bytes().I32(7));
    channel.OnRequest(0xD7005C, [&](const Sent&) {
        caller.inRequest.set_value();
        char byte = 0;
        EXPECT_EQ(read(caller.answer[0], &byte, 1), 1);  // a cancellation point
    });
    pthread_t thread{};
    ASSERT_EQ(pthread_create(&thread, nullptr, &Call, &caller), 0);
    ASSERT_EQ(caller.inRequest.get_future().wait_for(std::chrono::seconds(10)),
              std::future_status::ready);
    EXPECT_EQ(pthread_cancel(thread), 0);
    EXPECT_EQ(write(caller.answer[1], "", 1), 1);
    void* result = nullptr;
    EXPECT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    EXPECT_EQ(caller.status, 7);
    channel.OnRequest(0xD7005C, nullptr);
    EXPECT_EQ(BtEnable(), 7) << "nothing stays locked";
    close(caller.answer[0]);
    close(caller.answer[1]);
}

}  // namespace

}  // namespace pelacon::test
