// The error notifier in a forked child.
#include <PelaconSDK/WifiSystemApi.h>
#include <tests/sdk/wifi/ErrorListeners.h>
#include <tests/support/SdkTest.h>
#include <tests/support/linux/InChild.h>

#include <chrono>
#include <future>

namespace pelacon::test {

namespace {

using namespace std::chrono_literals;

constexpr auto kNotifierLimit = 10s;

using ErrorStatusForkTest = StoppedSdkTest;

WifiSystemApi& Api()
{
    return WifiSystemApi::GetInstance();
}

/// Posts an error and waits for it. Returns how many of these failed.
int PostAndReceiveAnError(RecordingListener& listener, ConnectErrorCode code)
{
    const std::size_t before = listener.Errors().size();
    Api().PostNotification(code);
    return listener.Wait(before + 1).back().code != code;
}

TEST_F(ErrorStatusForkTest, AChildReceivesErrorsWhileAParentsThreadIsInAListener)
{
    auto& listener = *new RecordingListener;
    ASSERT_TRUE(Api().RegistListener(&listener));
    std::promise<void> inListener;
    std::promise<void> forked;
    listener.meanwhile = [&](const ErrorDetail&) {
        inListener.set_value();
        EXPECT_EQ(forked.get_future().wait_for(kNotifierLimit), std::future_status::ready);
    };
    Api().PostNotification(kConnectBleSendFail);
    ASSERT_EQ(inListener.get_future().wait_for(kNotifierLimit), std::future_status::ready);
    EXPECT_EQ(InChild([&] {
                  listener.meanwhile = nullptr;
                  int failed = Api().RegistListener(&listener);  // false: it is still registered
                  failed += PostAndReceiveAnError(listener, kConnectSuccess);
                  Api().DestroyInstance();
                  return failed;
              }),
              0);
    forked.set_value();
    listener.Wait(1);
    listener.meanwhile = nullptr;
    EXPECT_EQ(PostAndReceiveAnError(listener, kConnectSuccess), 0);
    EXPECT_TRUE(Api().UnregistListener(&listener));
}

TEST_F(ErrorStatusForkTest, AChildForkedInAListenerReceivesErrors)
{
    auto& listener = *new RecordingListener;
    ASSERT_TRUE(Api().RegistListener(&listener));
    std::promise<int> result;
    listener.meanwhile = [&](const ErrorDetail&) {
        result.set_value(InChild([&] {
            listener.meanwhile = nullptr;
            return PostAndReceiveAnError(listener, kConnectSuccess);
        }));
    };
    Api().PostNotification(kConnectBleSendFail);
    EXPECT_EQ(result.get_future().get(), 0);
    listener.Wait(1);
    EXPECT_TRUE(Api().UnregistListener(&listener));
}

}  // namespace

}  // namespace pelacon::test
