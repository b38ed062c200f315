#include <service/linux/wifi/Secrets.h>
#include <tests/service/linux/StandInPath.h>
#include <tests/service/linux/WifiHostTest.h>
#include <tests/support/TemporaryFolder.h>

#include <gmock/gmock.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

namespace pelacon::service::linux_radios::tests {

namespace {

using namespace std::chrono_literals;
using radio::GroupOutcome;
using radio::Station;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

constexpr std::uint64_t kPhone = 0x0200000001AB;

/// Groups on stand-ins of the kernel, wpa_supplicant and dnsmasq.
class RealGroups : public WifiHostTest {
  protected:
    RealGroups()
    {
        accessPoints.folder = Folder();
        accessPoints.supplicant = PathOfStandIn("supplicant.py");
        accessPoints.dnsmasq = PathOfStandIn("dnsmasq.sh");
        accessPoints.indexOf = [this](const std::string& name) { return kernel.IndexOf(name); };
        accessPoints.limits.address = 1s;
        accessPoints.limits.move = 1s;
        accessPoints.limits.moveAgain = 20ms;
        kernel.SetCard(0);
        kernel.SetInterface(4, "wlan0");
    }

    ~RealGroups() override { End(); }

    std::string Folder() const { return temporary.File("access-points"); }
    std::string Contents(const std::string& file) const
    {
        std::ifstream stream(Folder() + "/" + file);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    void Start()
    {
        WifiHostTest::Start();
        Locked([this] {
            radios->GetGroups().ObserveGroup(
                [this](bool exists, GroupOutcome reason) { groups.emplace_back(exists, reason); });
            radios->GetGroups().ObserveStations([this](const Station& station, bool joined) {
                stations.push_back((joined ? "joined " : "left ") + station.ipAddress);
            });
        });
    }
    radio::Groups::Done StoreGroup()
    {
        return [this](GroupOutcome outcome) { results.push_back(outcome); };
    }
    void Create(std::int32_t channel = 6)
    {
        Locked([&] { radios->GetGroups().Create(channel, StoreGroup()); });
    }
    void Remove()
    {
        Locked([this] { radios->GetGroups().Remove(StoreGroup()); });
    }
    void Move(std::int32_t channel)
    {
        Locked([&] { radios->GetGroups().Move(channel, StoreGroup()); });
    }
    /// The results of all operations, when there are at least `count` of them.
    std::vector<GroupOutcome> Results(std::size_t count)
    {
        EXPECT_TRUE(Eventually([&] { return results.size() >= count; }));
        return Locked([this] { return results; });
    }
    bool Exists()
    {
        return Locked([this] { return radios->GetGroups().Exists(); });
    }
    /// Creates a group, and waits until it is there.
    void Open(std::int32_t channel = 6)
    {
        Create(channel);
        ASSERT_THAT(Results(1), ElementsAre(GroupOutcome::kDone));
        Locked([this] { results.clear(); });
    }
    /// Writes a file for the stand-in of wpa_supplicant.
    void Put(const std::string& name, const std::string& contents = {})
    {
        std::filesystem::create_directory(Folder());
        std::ofstream(Folder() + "/" + name) << contents;
    }
    /// To the wpa_supplicant of pelacon0.
    void Tell(const std::string& command)
    {
        const FileDescriptor socket =
            wifi::ConnectToSupplicant(Folder() + "/pelacon0/control/pelacon0");
        const std::string text = "TEST " + command;
        EXPECT_EQ(send(socket.Get(), text.data(), text.size(), 0),
                  static_cast<ssize_t>(text.size()));
    }
    /// Until `end`, in seconds.
    void GiveAddress(const std::string& address, std::int64_t end = 1'700'000'000)
    {
        std::ofstream(Folder() + "/pelacon0/leases")
            << end << " 02:00:00:00:01:ab " << address << " phone *\n";
    }
    /// 0: it does not run yet.
    pid_t DnsmasqProcess() const
    {
        pid_t process = 0;
        std::ifstream(Folder() + "/pelacon0/dnsmasq.pid") >> process;
        return process;
    }
    /// Waits until the kernel has removed it.
    bool IsInterfaceGone()
    {
        return test::Eventually([this] { return kernel.IndexOf("pelacon0") == 0; });
    }
    bool IsNothingLeft()
    {
        return IsInterfaceGone() &&
               test::Eventually([this] { return !std::filesystem::exists(Folder()); });
    }
    bool EventuallyGone(GroupOutcome reason)
    {
        return Eventually(
            [&] { return !groups.empty() && groups.back() == std::pair(false, reason); });
    }

    test::TemporaryFolder temporary;
    // Guarded by the scheduler's lock:
    std::vector<GroupOutcome> results;
    std::vector<GroupOutcome> softAps;
    std::vector<std::pair<bool, GroupOutcome>> groups;
    std::vector<std::string> stations;
};

TEST_F(RealGroups, AreAccessPointsOfTheService)
{
    Start();
    Locked([this] {
        const radio::Group before = radios->GetGroups().Describe();
        EXPECT_THAT(before.ssid, MatchesRegex("DIRECT-..-Pelacon"));
        EXPECT_EQ(before.passPhrase.size(), 16U);
        EXPECT_EQ(before.address, 0x020000000011U);
        EXPECT_EQ(before.ipAddress, "192.168.49.1");
        EXPECT_EQ(before.channel, 0);
    });
    Open(6);
    Locked([this] {
        EXPECT_EQ(radios->GetGroups().Describe().channel, 6);
        EXPECT_EQ(radios->GetGroups().NetworkInterface()->name, "pelacon0");
        EXPECT_EQ(radios->GetGroups().NetworkInterface()->index, kernel.IndexOf("pelacon0"));
        EXPECT_THAT(groups, ElementsAre(std::pair(true, GroupOutcome::kDone)));
    });
    Create(6);
    EXPECT_THAT(Results(1), ElementsAre(GroupOutcome::kBusy));
    Remove();
    EXPECT_THAT(Results(2), ElementsAre(GroupOutcome::kBusy, GroupOutcome::kDone));
    EXPECT_TRUE(EventuallyGone(GroupOutcome::kDone));
    EXPECT_TRUE(IsNothingLeft());
    Remove();
    EXPECT_EQ(Results(3).back(), GroupOutcome::kNoGroup);
    Create(1);
    EXPECT_EQ(Results(4).back(), GroupOutcome::kDone);
    EXPECT_TRUE(Exists());
}

TEST_F(RealGroups, KeepTheirPassPhrasesToTheirUser)
{
    Start();
    Open();
    const std::string passPhrase =
        Locked([this] { return radios->GetGroups().Describe().passPhrase; });
    EXPECT_THAT(Contents("pelacon0/network.conf"), HasSubstr(passPhrase));
    for (const char* const name : {"/pelacon0", "/pelacon0/network.conf"}) {
        struct stat status {};
        ASSERT_EQ(stat((Folder() + name).c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 077U, 0U) << name;
    }
    EXPECT_NE(wifi::DrawLetters(16), wifi::DrawLetters(16));
}

TEST_F(RealGroups, ReportStationsWithTheirAddresses)
{
    Start();
    Open();
    Tell("event AP-STA-CONNECTED 02:00:00:00:01:ab");
    GiveAddress("192.168.49.10");
    ASSERT_TRUE(Eventually([this] { return stations.size() == 1; }));
    Locked([this] {
        EXPECT_EQ(radios->GetGroups().Stations().at(0).address, kPhone);
        EXPECT_EQ(radios->GetGroups().Stations().at(0).ipAddress, "192.168.49.10");
    });
    Tell("event AP-STA-DISCONNECTED 02:00:00:00:01:ab");
    ASSERT_TRUE(Eventually([this] { return stations.size() == 2; }));
    Tell("event AP-STA-CONNECTED 02:00:00:00:01:ab");
    ASSERT_TRUE(Eventually([this] { return stations.size() == 3; }));
    Remove();
    EXPECT_THAT(Results(1), ElementsAre(GroupOutcome::kDone));
    Locked([this] {
        EXPECT_THAT(stations,
                    ElementsAre("joined 192.168.49.10", "left ", "joined 192.168.49.10", "left "));
    });
}

TEST_F(RealGroups, ReportTheAddressThatAStationGetsWhenItJoinsAgain)
{
    accessPoints.limits.address = 10min;
    Start();
    Open();
    Tell("event AP-STA-CONNECTED 02:00:00:00:01:ab");
    GiveAddress("192.168.49.10");
    ASSERT_TRUE(Eventually([this] { return stations.size() == 1; }));
    Tell("event AP-STA-DISCONNECTED 02:00:00:00:01:ab");
    ASSERT_TRUE(Eventually([this] { return stations.size() == 2; }));
    Tell("event AP-STA-CONNECTED 02:00:00:00:01:ab");
    Tell("event AP-CSA-FINISHED freq=2412");
    ASSERT_TRUE(Eventually([this] { return groups.size() == 2; }))
        << "the events before this one have been handled, too";
    GiveAddress("192.168.49.11", 1'700'000'060);
    ASSERT_TRUE(Eventually([this] { return stations.size() == 3; }));
    Locked([this] { EXPECT_EQ(stations.back(), "joined 192.168.49.11"); });
}

TEST_F(RealGroups, ReportAStationWithoutAnAddressAfterAWhile)
{
    Start();
    Open();
    Tell("event AP-STA-CONNECTED 02:00:00:00:01:ab");
    ASSERT_TRUE(Eventually([this] { return stations.size() == 1; }));
    Locked([this] { EXPECT_THAT(stations, ElementsAre("joined ")); });
}

TEST_F(RealGroups, MoveToOtherChannels)
{
    Start();
    Open(6);
    Tell("refuse 2");  // as a card that scans does
    Move(1);
    EXPECT_THAT(Results(1), ElementsAre(GroupOutcome::kDone));
    Locked([this] {
        EXPECT_EQ(radios->GetGroups().Describe().channel, 1);
        EXPECT_EQ(groups.size(), 2U);
    });
    Tell("refuse 1000");
    Move(36);
    EXPECT_EQ(Results(2).back(), GroupOutcome::kFailed);
    Move(1);
    EXPECT_EQ(Results(3).back(), GroupOutcome::kDone) << "it is there";
    Locked([this] { EXPECT_EQ(radios->GetGroups().Describe().channel, 1); });
}

TEST_F(RealGroups, DoNotMakeAMoveThatHasFailedAlready)
{
    Start();
    Open(6);
    Tell("hold");
    Move(1);
    Move(36);
    EXPECT_THAT(Results(2), ElementsAre(GroupOutcome::kFailed, GroupOutcome::kFailed));
    Tell("answer FAIL");
    Move(1);
    EXPECT_EQ(Results(3).back(), GroupOutcome::kDone);
    Locked([this] {
        EXPECT_EQ(radios->GetGroups().Describe().channel, 1);
        EXPECT_EQ(groups.size(), 2U) << "it was made, and moved once";
    });
}

TEST_F(RealGroups, EndWithWifi)
{
    Start();
    Open();
    Tell("event AP-STA-CONNECTED 02:00:00:00:01:ab");
    ASSERT_TRUE(Eventually([this] { return stations.size() == 1; }));
    Tell("refuse 1000");
    Move(36);
    kernel.Block(0, true, false);
    EXPECT_TRUE(EventuallyGone(GroupOutcome::kWifiOff));
    Locked([this] { EXPECT_EQ(stations.size(), 2U); });
    EXPECT_TRUE(IsNothingLeft());
    Create();
    EXPECT_EQ(Results(2).back(), GroupOutcome::kWifiOff);
}

TEST_F(RealGroups, EndWhenAProgramEnds)
{
    Start();
    Open();
    Tell("exit");
    EXPECT_TRUE(EventuallyGone(GroupOutcome::kFailed));
    EXPECT_TRUE(IsNothingLeft());
    Open();
    EXPECT_TRUE(Exists());
}

TEST_F(RealGroups, EndWithoutTheProgramThatGivesAddresses)
{
    Start();
    Open();
    ASSERT_TRUE(test::Eventually([this] { return DnsmasqProcess() != 0; }));
    const pid_t process = DnsmasqProcess();
    Put("no-dnsmasq");
    ASSERT_TRUE(test::Eventually([process] { return kill(process, 0) != 0; }));
    try {
        Tell("event AP-ENABLED");
    } catch (const std::system_error&) {  // on a slow machine the group has ended already
    }
    EXPECT_TRUE(EventuallyGone(GroupOutcome::kFailed));
}

TEST_F(RealGroups, AreNotCreatedWithoutPermission)
{
    kernel.RefuseInterfaces(EPERM);
    Start();
    Create();
    EXPECT_THAT(Results(1), ElementsAre(GroupOutcome::kNotPermitted));
    EXPECT_TRUE(EventuallyGone(GroupOutcome::kNotPermitted));
    EXPECT_TRUE(IsNothingLeft());
}

TEST_F(RealGroups, AreNotCreatedWithoutTheirPrograms)
{
    accessPoints.supplicant = "no-such-wpa_supplicant";
    Start();
    EXPECT_THAT(Locked([this] { return pelacon::json::Write(host->Describe()); }),
                HasSubstr("no-such-wpa_supplicant, for groups and the soft AP"));
    Create();
    EXPECT_THAT(Results(1), ElementsAre(GroupOutcome::kFailed));
    EXPECT_TRUE(IsNothingLeft());
}

TEST_F(RealGroups, AreCreatedByAWpaSupplicantThatIsBusyAtFirst)
{
    Start();
    Put("busy", "2.5");
    Open();
    Tell("event AP-STA-CONNECTED 02:00:00:00:01:ab");
    GiveAddress("192.168.49.10");
    EXPECT_TRUE(Eventually([this] { return stations.size() == 1; }));
}

TEST_F(RealGroups, AreGivenUpAfterAWhile)
{
    accessPoints.limits.make = 1s;
    Start();
    Put("stuck");
    Create();
    EXPECT_THAT(Results(1), ElementsAre(GroupOutcome::kFailed));
    EXPECT_FALSE(std::filesystem::exists(Folder() + "/pelacon0"));
    EXPECT_TRUE(IsInterfaceGone());
}

TEST_F(RealGroups, AreAbortedByTheirRemoval)
{
    Start();
    Put("stuck");
    Create();
    ASSERT_TRUE(test::Eventually([this] { return kernel.IndexOf("pelacon0") != 0; }));
    Remove();
    EXPECT_THAT(Results(2), ElementsAre(GroupOutcome::kAborted, GroupOutcome::kDone));
    EXPECT_TRUE(IsInterfaceGone());
    std::filesystem::remove(Folder() + "/stuck");
    Locked([this] { results.clear(); });
    Open();
}

TEST_F(RealGroups, LeaveNothingWhereTheirInterfaceIsMadeJustThen)
{
    kernel.HoldInterfaces();
    Start();
    Create();
    ASSERT_TRUE(test::Eventually([this] { return kernel.IndexOf("pelacon0") != 0; }));
    Remove();
    EXPECT_THAT(Results(2), ElementsAre(GroupOutcome::kAborted, GroupOutcome::kDone));
    EXPECT_TRUE(IsNothingLeft());
}

TEST_F(RealGroups, ShareTheOnlyChannelWithTheSoftAp)
{
    Start();
    Locked([this] {
        radios->GetGroups().Create(6, StoreGroup());
        radios->GetSoftAp().Create(36,
                                   [this](GroupOutcome outcome) { softAps.push_back(outcome); });
    });
    EXPECT_THAT(Results(1), ElementsAre(GroupOutcome::kDone));
    ASSERT_TRUE(Eventually([this] { return softAps.size() == 1; }));
    EXPECT_EQ(softAps.front(), GroupOutcome::kFailed);
    Remove();
    EXPECT_EQ(Results(2).back(), GroupOutcome::kDone);
    Locked([this] {
        radios->GetSoftAp().Create(36,
                                   [this](GroupOutcome outcome) { softAps.push_back(outcome); });
    });
    ASSERT_TRUE(Eventually([this] { return softAps.size() == 2; }));
    EXPECT_EQ(softAps.back(), GroupOutcome::kDone);
}

TEST_F(RealGroups, ExistBesideTheSoftAp)
{
    Start();
    Locked([this] {
        EXPECT_THAT(radios->GetSoftAp().Describe().ssid, MatchesRegex("Pelacon-...."));
        radios->GetGroups().Create(6, StoreGroup());
        radios->GetSoftAp().Create(6, StoreGroup());
    });
    EXPECT_THAT(Results(2), ElementsAre(GroupOutcome::kDone, GroupOutcome::kDone));
    Locked([this] {
        EXPECT_EQ(radios->GetGroups().NetworkInterface()->name, "pelacon0");
        EXPECT_EQ(radios->GetSoftAp().NetworkInterface()->name, "pelacon1");
        results.clear();
    });
    const std::string name = Locked([this] {
        std::string before = radios->GetSoftAp().Describe().ssid;
        radios->GetSoftAp().Rename("guessed", "guessed too");
        EXPECT_EQ(radios->GetSoftAp().Describe().ssid, before) << "it exists";
        radios->GetSoftAp().Remove(StoreGroup());
        return before;
    });
    EXPECT_THAT(Results(1), ElementsAre(GroupOutcome::kDone));
    EXPECT_TRUE(Exists());
    Locked([&] {
        EXPECT_THAT(radios->GetSoftAp().Describe().ssid,
                    AllOf(Not(name), MatchesRegex("Pelacon-....")));
        EXPECT_EQ(radios->GetSoftAp().Describe().passPhrase.size(), 16U);
    });
}

TEST_F(RealGroups, AreRefusedOnAnotherChannelThanTheCardsOnlyOne)
{
    kernel.SetInterface(4, "wlan0", 0, "Home", 2437);
    Start();
    Create(36);
    EXPECT_THAT(Results(1), ElementsAre(GroupOutcome::kFailed));
    EXPECT_TRUE(EventuallyGone(GroupOutcome::kFailed));
    Create(6);
    EXPECT_THAT(Results(2), ElementsAre(GroupOutcome::kFailed, GroupOutcome::kDone));
    Move(36);
    EXPECT_EQ(Results(3).back(), GroupOutcome::kFailed);
}

TEST_F(RealGroups, RemoveTheFilesThatAKilledServiceHasLeft)
{
    kernel.SetInterface(90, "pelacon0", 0, "", 0, NL80211_IFTYPE_AP);
    std::filesystem::create_directories(Folder() + "/pelacon0/control");
    Start();
    EXPECT_TRUE(test::Eventually([this] { return !std::filesystem::exists(Folder()); }));
    EXPECT_EQ(kernel.IndexOf("pelacon0"), 90U) << "of another service";
    Open();
    EXPECT_NE(kernel.IndexOf("pelacon1"), 0U);
}

TEST_F(RealGroups, EndWithTheirRadios)
{
    Start();
    Open();
    Release();
    EXPECT_TRUE(IsNothingLeft());
    Locked([this] { EXPECT_THAT(groups, ElementsAre(std::pair(true, GroupOutcome::kDone))); });
}

TEST_F(RealGroups, EndWithTheService)
{
    Start();
    Open();
    Release();
    host.reset();
    EXPECT_TRUE(IsNothingLeft());
}

}  // namespace

}  // namespace pelacon::service::linux_radios::tests
