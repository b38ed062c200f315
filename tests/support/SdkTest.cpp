#include <LogHelper/KvLogger.h>
#include <PelaconSDK/PelaconSvc.h>
#include <sdk/diag/TraverseProcesses.h>
#include <tests/support/SdkTest.h>
#include <tests/support/Wlan.h>
#include <voevent/VoEvent.h>

#include <atomic>

namespace pelacon::test {

void StoppedSdkTest::SetUp()
{
    KvLogger::GetInstance().SetSink({});
    VoView::SetSink({});
    channel.Reset();
    Copies::Reset();
    Processes::Reset();
    Threads::Reset();
    Wlan::Reset();
    ForgetTraversals();
    ForgetWhatHappened();
}

void StoppedSdkTest::TearDown()
{
    Threads::WaitForAll();
    // What hooks refer to ends with the test.
    channel.Reset();
    Wlan::Reset();
    PelaconSvcStop();
}

void StoppedSdkTest::ForgetWhatHappened()
{
    Journal::Clear();
    LogLines::Clear();
    Events::Clear();
    Channel::Get().ForgetSent();
}

void SdkTest::SetUp()
{
    StoppedSdkTest::SetUp();
    ASSERT_EQ(PelaconSvcStart(), 0);
    ForgetWhatHappened();
}

void SdkTest::TearDown()
{
    StoppedSdkTest::TearDown();
}

std::int32_t FreshId()
{
    static std::atomic<std::int32_t> last{1000};
    return ++last;
}

}  // namespace pelacon::test
