#include <IPCMessage/ServicePresence.h>
#include <PelaconSDK/WifiSystemApi.h>
#include <sdk/ipc/IPCMessageSender.h>
#include <tests/sdk/LinkIds.h>
#include <tests/sdk/WifiListener.h>
#include <tests/support/SdkTest.h>

#include <cctype>
#include <string>
#include <vector>

namespace pelacon::test {

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr auto kHandler = "IPCMessageSender::ServiceStartNotifyCallback";

LogLine NoService()
{
    return Line(4, "service process not exist", kHandler);
}

LogLine NotRepaired()
{
    return Line(3, "the service has started, but what it held for this process is not repaired",
                kHandler);
}

/// The lines between those of the receiver.
std::vector<LogLine> LinesOfHandler()
{
    std::vector<LogLine> lines = LogLines::All();
    if (lines.size() < 2) {
        ADD_FAILURE() << "the receiver's lines are missing";
        return lines;
    }
    return {lines.begin() + 1, lines.end() - 1};
}

TEST_F(SdkTest, RepairsWhenTheInstalledServiceRuns)
{
    channel.DeliverWithoutPayload(kServiceStarted);
    ASSERT_FALSE(channel.Requests().empty());
    // Nothing is registered in this process, so the request contains no ids.
    EXPECT_THAT(channel.Requests().front(), RequestIs(kRepair, ByteVector(120), 10000));
    EXPECT_EQ(LinesOfHandler().front(), Start(kHandler));
    EXPECT_EQ(LinesOfHandler().back(), End(kHandler));
}

TEST_F(SdkTest, NothingIsRegisteredAgainWithoutListeners)
{
    const std::string function = "IPCMessageSender::RestoreSoftAp";
    channel.DeliverWithoutPayload(kServiceStarted);
    EXPECT_THAT(channel.Requests(), ElementsAre(RequestIs(kRepair, ByteVector(120), 10000)));
    std::vector<LogLine> lines = LogLines::All();
    std::erase_if(lines,
                  [&](const LogLine& line) { return !line.text.ends_with("(" + function + ")"); });
    EXPECT_THAT(lines, ElementsAre(Start(function), End(function)));
}

TEST_F(SdkTest, OnlyListenersThatExistAreRegisteredAgain)
{
    constexpr std::int32_t kRegister = 0xD70098;
    constexpr std::int32_t kUnRegister = 0xD70099;
    const auto repair = RequestIs(kRepair, ByteVector(120), 10000);
    IdleListener listener;
    channel.Reply(kRegister, Bytes().I32(0));
    channel.Reply(kUnRegister, Bytes().I32(0));
    Api().RegisterSoftApNotificationEventCallback(&listener);
    ForgetWhatHappened();
    channel.DeliverWithoutPayload(kServiceStarted);
    EXPECT_THAT(channel.Requests(), ElementsAre(repair, RequestIs(kRegister, {}, 5000)));
    Api().UnRegisterSoftApNotificationEventCallback(&listener);
    ForgetWhatHappened();
    channel.DeliverWithoutPayload(kServiceStarted);
    EXPECT_THAT(channel.Requests(), ElementsAre(repair));
}

TEST_F(SdkTest, TheWifiHooksFollowTheRepairInOrder)
{
    channel.DeliverWithoutPayload(kServiceStarted);
    std::vector<std::string> journal = Journal::Entries();
    std::erase_if(journal, [](const std::string& entry) {
        return entry != "request 0xD700A1" && !entry.starts_with("log 1 start");
    });
    EXPECT_THAT(journal,
                ElementsAre("log 1 start(ServiceStartNotifyCallbackCb)",
                            "log 1 start(IPCMessageSender::ServiceStartNotifyCallback)",
                            "request 0xD700A1", "log 1 start(IPCMessageSender::WifiExceptCallback)",
                            "log 1 start(IPCMessageSender::RestoreSoftAp)"));
}

TEST_F(SdkTest, TheRepairReplyIsIgnored)
{
    channel.DeliverWithoutPayload(kServiceStarted);
    const std::vector<LogLine> unanswered = LogLines::All();
    LogLines::Clear();
    channel.Reply(kRepair, Bytes().I32(-5));
    channel.DeliverWithoutPayload(kServiceStarted);
    EXPECT_EQ(LogLines::All(), unanswered);
}

TEST_F(SdkTest, NoRepairWhenTheServiceRunsFromAnotherPath)
{
    const std::string path = Processes::kServicePath;
    Processes::Set({{1, "/sbin/init", L"init"},
                    {2, "PelaconService", L"PelaconService"},
                    {3, path + ".old", L"PelaconService"},
                    {4, path.substr(0, path.size() - 1), L"PelaconServic"},
                    {5, "/tmp" + path, L"PelaconService"}});
    channel.DeliverWithoutPayload(kServiceStarted);
    EXPECT_THAT(channel.Requests(), IsEmpty());
    EXPECT_THAT(LinesOfHandler(), ElementsAre(Start(kHandler), NoService(), NotRepaired()));
    EXPECT_EQ(Processes::Visited().size(), 5U) << "every process was visited";
}

TEST_F(SdkTest, ThePathIsComparedIgnoringCase)
{
    std::string path = Processes::kServicePath;
    for (char& character : path) {
        character = static_cast<char>(std::toupper(static_cast<unsigned char>(character)));
    }
    ASSERT_NE(path, Processes::kServicePath);
    Processes::Set({{9, path, L"PELACONSERVICE"}});
    channel.DeliverWithoutPayload(kServiceStarted);
    ASSERT_FALSE(channel.Requests().empty());
    EXPECT_EQ(channel.Requests().front().item.msgId, kRepair);
}

TEST_F(SdkTest, OnlyLettersAreComparedIgnoringCase)
{
    // '[' and '{', '@' and '`' differ in the bit that distinguishes upper and lower case of
    // letters.
    std::string path = Processes::kServicePath;
    path.front() = '\x0F';  // '/' without that bit
    Processes::Set({{9, path, L"PelaconService"}});
    channel.DeliverWithoutPayload(kServiceStarted);
    EXPECT_THAT(channel.Requests(), IsEmpty());
}

TEST_F(SdkTest, TheWalkEndsAtTheFirstMatch)
{
    Processes::Set({{1, "/sbin/init", L"init"},
                    {2, Processes::kServicePath, L"PelaconService"},
                    {3, Processes::kServicePath, L"PelaconService"}});
    channel.DeliverWithoutPayload(kServiceStarted);
    EXPECT_THAT(Processes::Visited(), ElementsAre("/sbin/init", Processes::kServicePath));
}

TEST_F(SdkTest, AProcessIdOfZeroIsNoMatch)
{
    Processes::Set({{0, Processes::kServicePath, L"PelaconService"}});
    channel.DeliverWithoutPayload(kServiceStarted);
    EXPECT_THAT(channel.Requests(), IsEmpty());
    EXPECT_THAT(LinesOfHandler(), ElementsAre(Start(kHandler), NoService(), NotRepaired()));
}

TEST_F(SdkTest, NoRepairWhenProcessesCannotBeListed)
{
    Processes::FailSnapshots();
    channel.DeliverWithoutPayload(kServiceStarted);
    EXPECT_THAT(channel.Requests(), IsEmpty());
    EXPECT_THAT(
        LinesOfHandler(),
        ElementsAre(Start(kHandler), Line(4, "CreateToolhelp32Snapshot Error!", "GetProcessId"),
                    NoService(), NotRepaired()));
}

TEST_F(SdkTest, RepairsATrustedServiceThatRunsFromAnotherPath)
{
    const ipc::ServicePresence::Connection connection;
    Processes::Set({{5, "/tmp/PelaconService", L"PelaconService"}});
    channel.DeliverWithoutPayload(kServiceStarted);
    ASSERT_FALSE(channel.Requests().empty());
    EXPECT_THAT(channel.Requests().front(), RequestIs(kRepair, ByteVector(120), 10000));
    EXPECT_THAT(LinesOfHandler(), Not(Contains(NoService())));
    EXPECT_EQ(Processes::Visited().size(), 1U) << "the processes are visited first";
}

TEST_F(SdkTest, RepairsATrustedServiceWhereProcessesCannotBeListed)
{
    const ipc::ServicePresence::Connection connection;
    Processes::FailSnapshots();
    channel.DeliverWithoutPayload(kServiceStarted);
    ASSERT_FALSE(channel.Requests().empty());
    EXPECT_EQ(channel.Requests().front().item.msgId, kRepair);
    EXPECT_THAT(LinesOfHandler(),
                Contains(Line(4, "CreateToolhelp32Snapshot Error!", "GetProcessId")));
}

TEST_F(StoppedSdkTest, ARepairThatIsNotSentIsLoggedAndTheRestGoesOn)
{
    IPCMessageSender::GetInstance().ServiceStartNotifyCallback();
    const std::vector<LogLine> lines = LogLines::All();
    ASSERT_GE(lines.size(), 4U);
    EXPECT_EQ(lines[0], Start(kHandler));
    EXPECT_EQ(lines[1], NotStarted());
    EXPECT_EQ(lines[2], Line(4, "repair resource request failed", kHandler));
    EXPECT_EQ(lines.back(), End(kHandler));
}

}  // namespace

}  // namespace pelacon::test
