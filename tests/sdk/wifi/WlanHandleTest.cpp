// The handle for WLAN scans: one test in a program of its own, as the process keeps the handle.
#include <PelaconSDK/WifiSystemApi.h>
#include <tests/support/Eventually.h>
#include <tests/support/SdkTest.h>
#include <tests/support/Wlan.h>

#include <atomic>
#include <future>

namespace pelacon::test {

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;

class WlanHandle : public StoppedSdkTest {
  protected:
    static bool Scan() { return WifiSystemApi::GetInstance().Scan(); }

    static bool IsSet(std::promise<void>& promise)
    {
        return promise.get_future().wait_for(kPatience) == std::future_status::ready;
    }

    static void FailToOpen()
    {
        Wlan::OpenGives(0);
        Wlan::ListGives(2);
        for (int scan = 0; scan < 2; ++scan) {
            ForgetWhatHappened();
            EXPECT_FALSE(Scan());
            EXPECT_THAT(Journal::Entries(),
                        ElementsAre("log 1 start(WifiSystemApi::Scan)", "wlan open",
                                    "log 4 WlanOpenHandle failed(InstanceHandle)", "wlan list 0",
                                    "log 4 WlanEnumInterfaces failed(WifiSystemApi::Scan)"));
        }
        Wlan::Reset();
    }

    /// The second handle opens while the first one does, and is there later.
    static void OpenTwoAtOnce()
    {
        std::promise<void> firstOpens;
        std::promise<void> secondOpens;
        std::promise<void> firstIsDone;
        std::atomic<int> openings{0};
        Wlan::OnOpen([&] {
            if (++openings == 1) {
                firstOpens.set_value();
                EXPECT_TRUE(IsSet(secondOpens));
            } else {
                secondOpens.set_value();
                EXPECT_TRUE(IsSet(firstIsDone));
            }
        });
        auto first = std::async(std::launch::async, Scan);
        EXPECT_TRUE(IsSet(firstOpens));
        Wlan::OpenGives(2);
        auto second = std::async(std::launch::async, Scan);
        first.get();
        firstIsDone.set_value();
        second.get();
    }
};

TEST_F(WlanHandle, IsOpenedUntilThatSucceedsAndOfTwoAtOnceTheLaterIsKept)
{
    FailToOpen();
    OpenTwoAtOnce();
    ForgetWhatHappened();
    Scan();
    EXPECT_THAT(Journal::Entries(), Contains("wlan list 2"));
    EXPECT_THAT(Journal::Entries(), Not(Contains("wlan open")));
}

}  // namespace

}  // namespace pelacon::test
