// The socket: its place, its owner, and access to it.
#include <IPCMessage/IPCControl.h>
#include <tests/platform/IPCMessage/Fixture.h>
#include <tests/platform/IPCMessage/RawPeers.h>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <set>
#include <thread>

namespace pelacon::test {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class SocketsTest : public ChannelTest {
  protected:
    /// Why a server cannot be started; empty if it can.
    std::string Refusal(const std::wstring& pipe = kPipe)
    {
        try {
            const IPCMessageServer attempt(pipe, handler);
            return {};
        } catch (const IPCServerError& error) {
            return error.what();
        }
    }

    std::string Place(const char* suffix) const
    {
        return folder.Path() / (std::string("ChannelTest") + suffix);
    }

    static unsigned ModeOf(const std::string& path)
    {
        struct stat status {};
        EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
        return status.st_mode & 07777U;
    }
};

TEST_F(SocketsTest, LiesInTheFolderThatTheEnvironmentNames)
{
    StartServer();
    EXPECT_EQ(server->Address(), Place(".sock"));
    EXPECT_EQ(server->StateFile(), Place(".state"));
    EXPECT_TRUE(std::filesystem::is_socket(Place(".sock")));
    server.reset();
    EXPECT_FALSE(std::filesystem::exists(Place(".sock")));
    EXPECT_EQ(Refusal(), "");
}

TEST_F(SocketsTest, IsSearchedInTheSystemsFolderAndThenInTheUsersOwn)
{
    setenv("XDG_RUNTIME_DIR", "/home/somebody", 1);
    EXPECT_THAT(ipc::FindPipePlaces(kPipe), ElementsAre(Place(".sock")));
    setenv("PELACON_RUNTIME_DIR", "", 1);  // the same as not set
    EXPECT_THAT(ipc::FindPipePlaces(kPipe), ElementsAre("/run/pelacon/ChannelTest.sock",
                                                        "/home/somebody/pelacon/ChannelTest.sock"));
    unsetenv("XDG_RUNTIME_DIR");
    EXPECT_THAT(ipc::FindPipePlaces(kPipe), ElementsAre("/run/pelacon/ChannelTest.sock"));
}

TEST_F(SocketsTest, LiesInTheUsersOwnFolderOtherwise)
{
    if (geteuid() == 0) {
        GTEST_SKIP() << "root listens in the system's folder";
    }
    unsetenv("PELACON_RUNTIME_DIR");
    setenv("XDG_RUNTIME_DIR", folder.Path().c_str(), 1);
    StartBoth();
    EXPECT_EQ(server->Address(), folder.Path() / "pelacon/ChannelTest.sock");
    EXPECT_TRUE(IsServed(*client));
}

TEST_F(SocketsTest, IsClosedToOtherUsersWhateverTheUmask)
{
    const mode_t before = umask(0);
    const auto inside = folder.Path() / "new";
    setenv("PELACON_RUNTIME_DIR", inside.c_str(), 1);
    StartServer();
    umask(before);
    EXPECT_EQ(ModeOf(inside), 0700U);
    EXPECT_EQ(ModeOf(server->Address()), 0600U);
    EXPECT_EQ(ModeOf(inside / "ChannelTest.lock"), 0600U);
}

TEST_F(SocketsTest, IsNotTakenFromARunningService)
{
    StartBoth();
    EXPECT_THAT(Refusal(), HasSubstr("another service is listening on " + Place(".sock")));
    EXPECT_TRUE(IsServed(*client));
    PeerProcess other("serve");
    EXPECT_THAT(other.ReadLine(), HasSubstr("another service is listening"));
    server.reset();
    EXPECT_EQ(Refusal(), "");
}

TEST_F(SocketsTest, IsReplacedWhenItsServiceHasDied)
{
    PeerProcess dead("serve");
    ASSERT_EQ(dead.ReadLine(), "ready");
    dead.Kill();
    dead.WaitForExit();
    ASSERT_TRUE(std::filesystem::exists(Place(".sock")));
    StartBoth();
    EXPECT_TRUE(IsServed(*client));
}

TEST_F(SocketsTest, ReplacesAnythingElseThatLiesThere)
{
    std::ofstream(Place(".sock")) << "a file";
    StartBoth();
    EXPECT_TRUE(IsServed(*client));
}

TEST_F(SocketsTest, IsMadeAgainWhenItsFileIsDeleted)
{
    StartServer();
    std::filesystem::remove(Place(".sock"));
    ASSERT_TRUE(Eventually([&] { return std::filesystem::is_socket(Place(".sock")); }));
    EXPECT_EQ(ModeOf(Place(".sock")), 0600U);
    StartClient();
    EXPECT_TRUE(IsServed(*client));
    EXPECT_THAT(handler.warnings.All(), ElementsAre(HasSubstr("made again")));
    EXPECT_THAT(Refusal(), HasSubstr("another service is listening"));
    server.reset();
    EXPECT_FALSE(std::filesystem::exists(Place(".sock")));
}

TEST_F(SocketsTest, IsMadeAgainWhenTheWholeFolderIsDeleted)
{
    StartServer();
    std::filesystem::remove_all(folder.Path());
    ASSERT_TRUE(Eventually([&] { return std::filesystem::is_socket(Place(".sock")); }));
    EXPECT_THAT(Refusal(), HasSubstr("another service is listening"));
    StartClient();
    EXPECT_TRUE(IsServed(*client));
}

TEST_F(SocketsTest, IsLeftToAServiceThatHasTakenThePlace)
{
    StartServer();
    std::filesystem::remove(Place(".sock"));
    std::filesystem::remove(Place(".lock"));
    Handler otherHandler;
    const IPCMessageServer other(kPipe, otherHandler);
    handler.warnings.WaitFor(1);
    EXPECT_THAT(handler.warnings.All(), ElementsAre(HasSubstr("another service is listening")));
    server.reset();
    StartClient();
    EXPECT_TRUE(IsServed(*client));
    EXPECT_EQ(otherHandler.arrived.WaitFor(1).size(), 1U);
}

TEST_F(SocketsTest, ConnectionsTakeNoStandardStreamsNumber)
{
    StartServer();
    EXPECT_EQ(PeerProcess("call-without-streams").ReadLine(), "served, 0 and 2 closed");
}

TEST_F(SocketsTest, AFailureToListenHasItsReason)
{
    std::filesystem::create_directory(Place(".sock"));
    EXPECT_THAT(Refusal(), HasSubstr("cannot remove the stale socket " + Place(".sock")));

    std::ofstream(folder.Path() / "file") << "a file";
    const auto noFolder = folder.Path() / "file/inside";
    setenv("PELACON_RUNTIME_DIR", noFolder.c_str(), 1);
    EXPECT_THAT(Refusal(), HasSubstr("cannot create the folder " + noFolder.string()));
    setenv("PELACON_RUNTIME_DIR", "/proc", 1);  // where not even root can write
    EXPECT_THAT(Refusal(), HasSubstr("cannot create /proc/ChannelTest.lock"));

    setenv("PELACON_RUNTIME_DIR", (folder.Path() / std::string(100, 'x')).c_str(), 1);
    EXPECT_THAT(Refusal(), HasSubstr("too long"));
    EXPECT_FALSE(std::filesystem::exists(folder.Path() / std::string(100, 'x')));
}

TEST_F(SocketsTest, DataSentBeforeTheServicesEndIsDelivered)
{
    RawService service;
    StartClient();
    Gate entered;
    Mailbox<Message> received;
    const Ending ending(*this);
    client->RegisterMessageCallback(7, [&](TagIPCMessageItem& item) {
        entered.Open();
        gate.Pass();
        received.Put(Message(item));
    });
    auto events = service.AcceptEvents();
    ASSERT_TRUE(events->Send({.kind = ipc::FrameKind::kNotification, .msgId = 7}, Counting(1)));
    ASSERT_TRUE(entered.Pass());
    // A socket that is closed with something unread resets the connection.
    EXPECT_TRUE(Post(*client, 1, Counting(4)));
    EXPECT_TRUE(events->Send({.kind = ipc::FrameKind::kNotification, .msgId = 7}, Counting(2)));
    events.reset();
    gate.Open();
    EXPECT_EQ(received.WaitFor(2).back().payload, Counting(2));
}

TEST_F(SocketsTest, NamesMustBePlainFileNames)
{
    for (const wchar_t* name : {L"", L"\\\\.\\Pipe\\", L"\\\\.\\Pipe\\..", L".hidden", L"a/b",
                                L"a b", L"\\\\.\\Pipe\\\u00e9t\u00e9"}) {
        EXPECT_THAT(Refusal(name), HasSubstr("the pipe's name")) << testing::PrintToString(name);
        const IPCMessageClient useless(1, false, false, name);
        EXPECT_FALSE(IsServed(useless));
    }
    EXPECT_EQ(Refusal(L"Plain-name_1.2"), "");
}

TEST_F(SocketsTest, EveryDescriptorIsClosedOnExec)
{
    const auto descriptors = [] {
        std::set<int> numbers;
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
            numbers.insert(std::stoi(entry.path().filename()));
        }
        std::erase_if(numbers, [](int number) { return fcntl(number, F_GETFD) < 0; });
        return numbers;
    };
    const std::set<int> before = descriptors();
    StartBoth();
    EXPECT_TRUE(IsServed(*client));
    std::size_t ours = 0;
    for (const int number : descriptors()) {
        if (before.count(number) == 0) {
            EXPECT_EQ(fcntl(number, F_GETFD), FD_CLOEXEC) << number;
            ++ours;
        }
    }
    EXPECT_GE(ours, 7U);  // lock, event, listener, and both ends of two connections
}

TEST_F(SocketsTest, AUsersServiceRefusesOtherUsers)
{
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    StartBoth();
    // The modes alone refuse them.
    EXPECT_EQ(PeerProcess("call-as-nobody").ReadLine(), "not served");
    EXPECT_EQ(PeerProcess("control-as-nobody").ReadLine(),
              "this user may not connect to " + server->Address() + ": Permission denied");
    EXPECT_EQ(server->GetStatistics().refusedPeers, 0U);
    chmod(folder.Path().c_str(), 0755);
    chmod(server->Address().c_str(), 0666);
    EXPECT_EQ(PeerProcess("call-as-nobody").ReadLine(), "not served");
    EXPECT_GE(server->GetStatistics().refusedPeers, 1U);
    EXPECT_EQ(PeerProcess("call").ReadLine(), "served");
    EXPECT_TRUE(IsServed(*client));
}

TEST_F(SocketsTest, AClientTrustsNoServiceOfAnotherUser)
{
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    chmod(folder.Path().c_str(), 01777);
    PeerProcess impostor("serve-as-nobody");
    ASSERT_EQ(impostor.ReadLine(), "ready");
    StartClient();
    EXPECT_FALSE(IsServed(*client));
    EXPECT_FALSE(Post(*client, 1, Counting(4)));
    EXPECT_EQ(client->GetStatistics().connected, 0U);
    IPCControlError error{};
    EXPECT_FALSE(IPCSendControl(kPipe, "command", kPatience, error));
    EXPECT_EQ(error.kind, IPCControlError::Kind::kNoAccess);
    EXPECT_THAT(error.message, HasSubstr("process " + std::to_string(impostor.Id())));
    EXPECT_THAT(error.message, HasSubstr("a user whose service is not trusted"));
    const std::vector<IPCPlace> places = IPCExaminePlaces(kPipe, kPatience);
    EXPECT_EQ(places.back().state, IPCPlace::State::kUntrusted);
    EXPECT_EQ(places.back().processId, impostor.Id());
    // A client that trusts it is served.
    EXPECT_EQ(PeerProcess("call-as-nobody").ReadLine(), "served");
}

TEST_F(SocketsTest, ASystemServiceServesUsersItsSocketAdmitsAndObeysRoot)
{
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs root";
    }
    PeerProcess system("serve-system");
    const std::string socket = system.ReadLine();
    if (socket == "cannot") {
        GTEST_SKIP() << "a /run of its own is not allowed here";
    }
    EXPECT_EQ(socket, "/run/pelacon/ChannelTest.sock");
    EXPECT_EQ(system.ReadLine(), "755 660");
    EXPECT_EQ(system.ReadLine(), "not served");  // by the mode
    EXPECT_EQ(system.ReadLine(), "served");      // once the mode allows it
    EXPECT_EQ(system.ReadLine(), "refused");
    EXPECT_EQ(system.ReadLine(), "command");
    EXPECT_EQ(system.ReadLine(), "answer") << "to the one command that every user may send";
    EXPECT_EQ(system.ReadLine(), "1");
    EXPECT_THAT(system.ReadLine(), HasSubstr("turned away: commands are accepted from"));
}

TEST_F(SocketsTest, ConnectionsAreRefusedWhileTheServerEnds)
{
    std::atomic<int> inside{0};
    const Ending ending(*this);
    HoldRequests(inside);
    StartBoth();
    bool served = false;
    std::thread caller([&] { served = IsServed(*client); });
    EXPECT_TRUE(Eventually([&] { return inside == 1; }));
    RawClient idle;
    EXPECT_TRUE(idle.Greet(ipc::FrameKind::kHelloCall));
    std::thread ender([&] { server.reset(); });
    EXPECT_TRUE(idle.IsClosed());
    EXPECT_TRUE(KeepsTo(
        300ms, [&] { return Duration([&] { EXPECT_FALSE(IsServed(*client)); }); }, 1));
    gate.Open();
    caller.join();
    ender.join();
    EXPECT_TRUE(served);
    EXPECT_EQ(inside, 1);
}

}  // namespace

}  // namespace pelacon::test
