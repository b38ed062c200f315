// What becomes of connections and services when bluetoothd ends or hangs. Run in the virtual
// machine, by tests/trouble.sh.
#include <tests/radios/ServerAndClient.h>

#include <signal.h>

#include <cstdlib>
#include <fstream>

namespace pelacon::service::linux_radios::bluetooth {

namespace {

class Trouble : public ServerAndClient {
  protected:
    /// To the bluetoothd that runs now.
    static void Send(int signal)
    {
        pid_t id = 0;
        std::ifstream("/run/bluetoothd.pid") >> id;
        ASSERT_GT(id, 1);
        ASSERT_EQ(kill(id, signal), 0);
    }

    /// As the kernel sees both controllers.
    static bool AreUnconnected() { return std::system("hcitool con | grep -q handle") != 0; }
};

TEST_F(Trouble, EndsWithABluezThatIsKilledAndBeginsAgainWithTheNextOne)
{
    SubscribeTo(kIndicating);
    Send(SIGKILL);
    ASSERT_TRUE(Eventually([this] { return !isConnected; }));
    EXPECT_EQ(ended, GattReason::kLocal);
    EXPECT_TRUE(Eventually([this] { return events.back() == "-one"; }));
    Do([this] {
        EXPECT_TRUE(service->Subscribers(kIndicating).empty());
        link.reset();
    });
    // It is started again, and finds both adapters as they were. The kernel ends the connection
    // that bluetoothd had some seconds later.
    ASSERT_TRUE(Eventually([this] { return one->picture.isOn && two->picture.isOn; }));
    ASSERT_TRUE(Eventually(&AreUnconnected));
    Advertise();
    Connect();
    EXPECT_EQ(Read(KeyOf(kValue)), Bytes{'a'});
    SubscribeTo(kNotifying);
}

TEST_F(Trouble, FailsWithinTheStatedTimeWhenBluezHangs)
{
    Send(SIGSTOP);
    const auto begin = Loop::Clock::now();
    EXPECT_EQ(Read(KeyOf(kValue)), std::nullopt);
    EXPECT_EQ(result, GattStatus::kUnreachable);
    EXPECT_LT(Loop::Clock::now() - begin, dbus::Bus::kUsualLimit + std::chrono::seconds(30));
    Send(SIGCONT);
    EXPECT_EQ(Read(KeyOf(kValue)), Bytes{'a'});
}

}  // namespace

}  // namespace pelacon::service::linux_radios::bluetooth
