// The end of the process's error notifier: one test in a program of its own, as nothing restarts
// the notifier.
#include <PelaconSDK/WifiSystemApi.h>
#include <tests/sdk/wifi/ErrorListeners.h>
#include <tests/sdk/wifi/ErrorStatusAccess.h>
#include <tests/support/SdkTest.h>

#include <system_error>

namespace pelacon::test {

namespace {

using ::testing::SizeIs;

constexpr auto kOther = static_cast<ConnectErrorCode>(5);

TEST_F(SdkTest, TheProcesssNotifierEndsOnceAndStaysEnded)
{
    WifiSystemApi& api = WifiSystemApi::GetInstance();
    RecordingListener listener;
    api.RegistListener(&listener);
    ErrorStatus* const before = ErrorStatus::GetInstance();
    api.PostNotification(kOther);
    api.DestroyInstance();
    EXPECT_THAT(listener.Errors(), SizeIs(1));
    EXPECT_EQ(ErrorStatus::GetInstance(), before);
    channel.Deliver(0xD80028, Bytes().I32(5));
    EXPECT_EQ(ErrorStatusAccess::Tasks(*before), 1U);
    EXPECT_THROW(api.DestroyInstance(), std::system_error);
    EXPECT_EQ(&WifiSystemApi::GetInstance(), &api);
}

}  // namespace

}  // namespace pelacon::test
