#include <service/linux/bluetooth/PairingAgent.h>
#include <tests/service/linux/StackTest.h>

namespace pelacon::service::linux_radios::tests {

namespace {

class APairingAgent : public StackTest {
  protected:
    APairingAgent()
    {
        Do([this] { agent = std::make_unique<PairingAgent>(*stack); });
        StartBluez();
        Start();
    }
    ~APairingAgent() override
    {
        Do([this] { agent.reset(); });
    }

    /// The error that answers BlueZ; empty if there is none.
    nlohmann::json Answer(const char* method)
    {
        return bluetoothd->Do({{"do", "pair"}, {"method", method}, {"device", kDevicePath}});
    }

    std::unique_ptr<PairingAgent> agent;
};

TEST_F(APairingAgent, PermitsWhatNeedsNoHuman)
{
    ASSERT_TRUE(IsCalled("RequestDefaultAgent"));
    EXPECT_EQ(Answer("RequestAuthorization"), "");
    EXPECT_EQ(Answer("RequestPasskey"), "org.bluez.Error.Rejected");
    EXPECT_EQ(Answer("RequestPinCode"), "org.bluez.Error.Rejected");
}

TEST_F(APairingAgent, IsRegisteredWithABluezThatIsStartedAgain)
{
    ASSERT_TRUE(IsCalled("RequestDefaultAgent"));
    bluetoothd->Kill();
    StartBluez();
    ASSERT_TRUE(test::Eventually([this] { return CallsOf("RequestDefaultAgent") == 2; }));
    EXPECT_EQ(Answer("RequestAuthorization"), "");
}

TEST_F(APairingAgent, StaysTheDefaultOneWithAnotherAdapter)
{
    ASSERT_TRUE(IsCalled("RequestDefaultAgent"));
    bluetoothd->Do({{"do", "remove"}, {"path", "hci0"}});
    ASSERT_TRUE(Eventually([this] { return !stack->Adapter(); }));
    bluetoothd->Do(
        {{"do", "fail"}, {"method", "RegisterAgent"}, {"error", "org.bluez.Error.AlreadyExists"}});
    bluetoothd->Do({{"do", "adapter"}, {"name", "hci1"}, {"Powered", true}});
    ASSERT_TRUE(test::Eventually([this] { return CallsOf("RequestDefaultAgent") == 2; }));
    EXPECT_EQ(Answer("RequestAuthorization"), "");
}

}  // namespace

}  // namespace pelacon::service::linux_radios::tests
