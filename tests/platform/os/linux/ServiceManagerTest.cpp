#include <os/ServiceManager.h>
#include <tests/support/TemporaryFolder.h>

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdlib>
#include <string>

namespace pelacon::test {

namespace {

/// A service manager's end of NOTIFY_SOCKET.
class NotifyReady : public ::testing::Test {
  protected:
    ~NotifyReady() override
    {
        unsetenv("NOTIFY_SOCKET");
        close(socket_);
    }

    /// Receives at this address, in the form that a service finds it in.
    void Listen(const std::string& name)
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        name.copy(address.sun_path, name.size());
        if (name[0] == '@') {
            address.sun_path[0] = '\0';
        }
        const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
        ASSERT_EQ(bind(socket_, reinterpret_cast<const sockaddr*>(&address), size), 0);
        setenv("NOTIFY_SOCKET", name.c_str(), 1);
    }

    /// What has arrived; empty when nothing has.
    std::string Received() const
    {
        std::array<char, 64> text{};
        const ssize_t size = recv(socket_, text.data(), text.size(), MSG_DONTWAIT);
        return size < 0 ? std::string() : std::string(text.data(), static_cast<std::size_t>(size));
    }

    const TemporaryFolder folder;

  private:
    int socket_ = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
};

TEST_F(NotifyReady, ReportsToTheSocket)
{
    Listen(folder.File("notify"));
    EXPECT_TRUE(os::NotifyReady());
    EXPECT_EQ(Received(), "READY=1");
}

TEST_F(NotifyReady, ReportsToAnAbstractSocket)
{
    Listen("@" + folder.File("notify"));
    EXPECT_TRUE(os::NotifyReady());
    EXPECT_EQ(Received(), "READY=1");
}

TEST_F(NotifyReady, DoesNothingWithoutAManager)
{
    EXPECT_TRUE(os::NotifyReady());
}

TEST_F(NotifyReady, FailsWithoutASocketAtTheAddress)
{
    setenv("NOTIFY_SOCKET", folder.File("nobody").c_str(), 1);
    EXPECT_FALSE(os::NotifyReady());
    setenv("NOTIFY_SOCKET", std::string(200, 'x').c_str(), 1);
    EXPECT_FALSE(os::NotifyReady());
}

}  // namespace

}  // namespace pelacon::test
