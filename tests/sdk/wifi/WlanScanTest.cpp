#include <PelaconSDK/WifiSystemApi.h>
#include <tests/support/SdkTest.h>
#include <tests/support/Wlan.h>

#include <algorithm>
#include <string>
#include <vector>

namespace pelacon::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr auto kScan = "WifiSystemApi::Scan";

/// WLAN scans do not need the library to be started. The process keeps the first handle that opens:
/// how it opens is tested in WlanHandleTest.cpp.
class WlanScan : public StoppedSdkTest {
  protected:
    /// Opens the process's handle, if that has not happened yet.
    static void Open()
    {
        WifiSystemApi::GetInstance().Scan();
        ForgetWhatHappened();
    }

    /// The library's calls of the system, except for those that open handles.
    static std::vector<std::string> Calls()
    {
        std::vector<std::string> calls;
        for (const std::string& entry : Journal::Entries()) {
            if (entry.starts_with("wlan ")) {
                calls.push_back(entry.starts_with("wlan list") ? "wlan list" : entry);
            }
        }
        return calls;
    }
};

TEST_F(WlanScan, OpensOnce)
{
    Open();
    WifiSystemApi::GetInstance().Scan();
    WifiSystemApi::GetInstance().Scan();
    EXPECT_EQ(std::ranges::count(Calls(), "wlan open"), 0);
}

TEST_F(WlanScan, OfTwoInterfacesOnlyTheFirstIsScanned)
{
    Open();
    Wlan::ListGives(2);
    EXPECT_TRUE(WifiSystemApi::GetInstance().Scan());
    EXPECT_THAT(Calls(), ElementsAre("wlan list", "wlan scan 0", "wlan free"));
    EXPECT_THAT(LogLines::All(), ElementsAre(Start(kScan), End(kScan)));
    EXPECT_EQ(Journal::Entries().back(), "log 1 end(WifiSystemApi::Scan)") << "freed before";
}

TEST_F(WlanScan, WithoutInterfacesTheListIsFreedAndNothingScanned)
{
    Open();
    Wlan::ListGives(0);
    EXPECT_FALSE(WifiSystemApi::GetInstance().Scan());
    EXPECT_THAT(Calls(), ElementsAre("wlan list", "wlan free"));
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Start(kScan), Line(4, "WlanEnumInterfaces failed", kScan)));
    EXPECT_EQ(Journal::Entries().back(), "log 4 WlanEnumInterfaces failed(WifiSystemApi::Scan)")
        << "freed before";
}

TEST_F(WlanScan, WithoutAListNothingIsScanned)
{
    Open();
    Wlan::ListGives(std::nullopt);
    EXPECT_FALSE(WifiSystemApi::GetInstance().Scan());
    EXPECT_THAT(Calls(), ElementsAre("wlan list"));
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Start(kScan), Line(4, "WlanEnumInterfaces failed", kScan)));
}

TEST_F(WlanScan, SendsNothingToTheService)
{
    Wlan::ListGives(1);
    EXPECT_TRUE(WifiSystemApi::GetInstance().Scan());
    EXPECT_THAT(channel.Requests(), IsEmpty());
}

}  // namespace

}  // namespace pelacon::test
