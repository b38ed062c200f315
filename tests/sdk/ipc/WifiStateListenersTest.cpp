// The objects that are called for the Wi-Fi switch and for the connection's channel.
#include <PelaconSDK/WifiSystemApi.h>
#include <sdk/ipc/IPCMessageSender.h>
#include <sdk/ipc/WifiStateListeners.h>
#include <tests/sdk/WifiListener.h>
#include <tests/support/SdkTest.h>

#include <chrono>
#include <functional>
#include <future>
#include <string>
#include <thread>
#include <vector>

namespace pelacon::test {

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr std::int32_t kRegistSwitch = 0xD7009C;
constexpr std::int32_t kUnRegistSwitch = 0xD7009D;
constexpr std::int32_t kRegistChannel = 0xD70007;
constexpr std::int32_t kSwitchState = 0xD80096;
constexpr std::int32_t kConnectChannel = 0xD70008;
constexpr auto kAddSwitch = "IPCMessageSender::AddWifiStateChangeCallback";
constexpr auto kRemoveSwitch = "IPCMessageSender::RemoveWifiStateChangeCallback";

std::vector<LogLine> LinesOf(const std::string& function)
{
    std::vector<LogLine> lines;
    for (const LogLine& line : LogLines::All()) {
        if (line.text.ends_with("(" + function + ")")) {
            lines.push_back(line);
        }
    }
    return lines;
}

// ---- The switch

class SwitchListeners : public SdkTest {
  protected:
    void SetUp() override
    {
        SdkTest::SetUp();
        channel.Reply(kRegistSwitch, Bytes().U8(1));
        channel.Reply(kUnRegistSwitch, Bytes().U8(1));
    }
    void TearDown() override
    {
        Registry<WifiStateListeners>().RemoveWifiStateChangeCallback(&a);
        Registry<WifiStateListeners>().RemoveWifiStateChangeCallback(&b);
        SdkTest::TearDown();
    }

    Named a{"A"};
    Named b{"B"};
};

TEST_F(SwitchListeners, ReceiveTheFirstWordInOrderOfRegistration)
{
    constexpr auto kFunction = "IPCMessageSender::WifiSwitchStateChangeCallback";
    EXPECT_TRUE(Api().RegistWifiStateChangeCallback(&b));
    EXPECT_TRUE(Api().RegistWifiStateChangeCallback(&a));
    ForgetWhatHappened();
    channel.Deliver(kSwitchState, Bytes().I32(-2).I32(7));
    EXPECT_THAT(
        Journal::Entries(),
        ElementsAre("log 1 PelaconSDK rcv default wifi switch msg(WifiSwitchStateChangeCallback)",
                    "log 1 PelaconSDK notify the business that the status has changed:-2"
                    "(IPCMessageSender::WifiSwitchStateChangeCallback)",
                    "B: switch -2", "A: switch -2",
                    "log 1 Notification completed"
                    "(IPCMessageSender::WifiSwitchStateChangeCallback)"));
    EXPECT_EQ(LogLines::All().back(), Line(1, "Notification completed", kFunction));
}

TEST_F(SwitchListeners, AreCalledOncePerRegistration)
{
    Api().RegistWifiStateChangeCallback(&a);
    EXPECT_THAT(LinesOf(kAddSwitch),
                ElementsAre(Line(1, "adding Wi-Fi switch Status Listener", kAddSwitch),
                            Line(1, "register success, cur size:1", kAddSwitch)));
    Api().RegistWifiStateChangeCallback(&a);
    EXPECT_EQ(LinesOf(kAddSwitch).back(), Line(1, "register success, cur size:2", kAddSwitch));
    channel.Deliver(kSwitchState, Bytes().I32(1));
    EXPECT_THAT(Delivered(), ElementsAre("A: switch 1", "A: switch 1"));
    Api().UnRegistWifiStateChangeCallback(&a);
    channel.Deliver(kSwitchState, Bytes().I32(2));
    EXPECT_THAT(Delivered(), ElementsAre("A: switch 1", "A: switch 1"))
        << "every registration of it has ended";
}

TEST_F(SwitchListeners, AreForgotten)
{
    const auto complete = Line(1, "The operation is complete", kRemoveSwitch);
    const auto begin = Line(1, "removing Wi-Fi switch Status Listener", kRemoveSwitch);
    Api().RegistWifiStateChangeCallback(&a);
    Api().RegistWifiStateChangeCallback(&b);
    EXPECT_TRUE(Api().UnRegistWifiStateChangeCallback(&a));
    EXPECT_THAT(LinesOf(kRemoveSwitch), ElementsAre(begin, complete));
    LogLines::Clear();
    EXPECT_TRUE(Api().UnRegistWifiStateChangeCallback(&a));
    EXPECT_THAT(LinesOf(kRemoveSwitch),
                ElementsAre(begin, Line(1, "observer does not exist", kRemoveSwitch), complete));
    channel.Deliver(kSwitchState, Bytes().I32(1));
    EXPECT_THAT(Delivered(), ElementsAre("B: switch 1"));
}

TEST_F(SwitchListeners, AreNeverNull)
{
    EXPECT_TRUE(Api().RegistWifiStateChangeCallback(nullptr)) << "the service agreed";
    EXPECT_THAT(LinesOf(kAddSwitch),
                ElementsAre(Line(1, "adding Wi-Fi switch Status Listener", kAddSwitch),
                            Line(4, "register failed, observer is null", kAddSwitch)));
    channel.Deliver(kSwitchState, Bytes().I32(1));
    EXPECT_TRUE(Api().UnRegistWifiStateChangeCallback(nullptr));
    EXPECT_THAT(LinesOf(kRemoveSwitch),
                ElementsAre(Line(1, "removing Wi-Fi switch Status Listener", kRemoveSwitch),
                            Line(4, "unregister failed, observer is null", kRemoveSwitch)));
    EXPECT_FALSE(Registry<WifiStateListeners>().HasWifiStateChangeCallbacks());
}

TEST_F(SwitchListeners, AreKeptAndForgottenOnlyWhenTheServiceAgrees)
{
    Api().RegistWifiStateChangeCallback(&a);
    channel.Reply(kRegistSwitch, Bytes().U8(0));
    channel.Reply(kUnRegistSwitch, Bytes().U8(0));
    EXPECT_FALSE(Api().RegistWifiStateChangeCallback(&b));
    EXPECT_FALSE(Api().UnRegistWifiStateChangeCallback(&a));
    channel.ReplyNothing(kRegistSwitch);
    channel.ReplyNothing(kUnRegistSwitch);
    EXPECT_FALSE(Api().RegistWifiStateChangeCallback(&b));
    EXPECT_FALSE(Api().UnRegistWifiStateChangeCallback(&a));
    channel.Deliver(kSwitchState, Bytes().I32(1));
    EXPECT_THAT(Delivered(), ElementsAre("A: switch 1"));
}

TEST_F(SwitchListeners, AreNotCalledWithoutPayload)
{
    Api().RegistWifiStateChangeCallback(&a);
    ForgetWhatHappened();
    channel.DeliverWithoutPayload(kSwitchState);
    EXPECT_THAT(Journal::Entries(), IsEmpty());
}

TEST_F(SwitchListeners, AreLockedWhileTheyAreCalled)
{
    std::thread unregistering;
    std::promise<void> gone;
    auto isGone = gone.get_future();
    Api().RegistWifiStateChangeCallback(&a);
    a.meanwhile = [&] {
        unregistering = std::thread([&] {
            Api().UnRegistWifiStateChangeCallback(&a);
            gone.set_value();
        });
        EXPECT_EQ(isGone.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
        // The other list has a lock of its own.
        Registry<WifiStateListeners>().WifiConnectChannelCallback(6);
    };
    channel.Deliver(kSwitchState, Bytes().I32(1));
    unregistering.join();
}

// ---- The channel. Objects are never unregistered, so each test has its own, with its own name.

class ChannelListeners : public SdkTest {
  protected:
    void SetUp() override
    {
        SdkTest::SetUp();
        channel.Reply(kRegistChannel, Bytes().U8(1));
    }

    static std::string FreshName() { return "listener" + std::to_string(FreshId()); }

    const std::string name = FreshName();
    const std::string otherName = FreshName();
    Named& listener = Lasting<Named>(Named(name));
    Named& other = Lasting<Named>(Named(otherName));
};

TEST_F(ChannelListeners, ReceiveTheFirstWordInOrderOfRegistration)
{
    constexpr auto kFunction = "IPCMessageSender::WifiConnectChannelCallback";
    Api().RegistWifiStateChangeCallBack(&other);
    Api().RegistWifiStateChangeCallBack(&listener);
    ForgetWhatHappened();
    channel.Deliver(kConnectChannel, Bytes().I32(-36).I32(7));
    EXPECT_THAT(Delivered({name, otherName}),
                ElementsAre(otherName + ": channel -36", name + ": channel -36"));
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Line(4, "WifiCardStateChangeCb enter", "WifiConnectChannelCallbackCb"),
                            Start(kFunction), End(kFunction)));
}

TEST_F(ChannelListeners, AreKeptOnce)
{
    const auto already =
        Line(1, "callback already exist", "IPCMessageSender::AddWifiStateCallback");
    Api().RegistWifiStateChangeCallBack(&listener);
    EXPECT_THAT(LogLines::All(), Not(Contains(already)));
    Api().RegistWifiStateChangeCallBack(&listener);
    EXPECT_THAT(LogLines::All(), Contains(already));
    channel.Deliver(kConnectChannel, Bytes().I32(11));
    EXPECT_THAT(Delivered({name}), ElementsAre(name + ": channel 11"));
}

TEST_F(ChannelListeners, AreKeptOnlyWhenTheServiceAgrees)
{
    channel.Reply(kRegistChannel, Bytes().U8(0));
    Api().RegistWifiStateChangeCallBack(&listener);
    channel.ReplyNothing(kRegistChannel);
    Api().RegistWifiStateChangeCallBack(&listener);
    channel.Deliver(kConnectChannel, Bytes().I32(11));
    EXPECT_THAT(Delivered({name}), IsEmpty());
}

TEST_F(ChannelListeners, AreNeverNull)
{
    constexpr auto kFunction = "WifiSystemApi::RegistWifiStateChangeCallBack";
    Api().RegistWifiStateChangeCallBack(nullptr);
    EXPECT_THAT(channel.Requests(), IsEmpty());
    EXPECT_THAT(LogLines::All(), ElementsAre(Start(kFunction), Line(3, "cb is null", kFunction)));
}

TEST_F(ChannelListeners, AreNotCalledWithoutPayload)
{
    Api().RegistWifiStateChangeCallBack(&listener);
    ForgetWhatHappened();
    channel.DeliverWithoutPayload(kConnectChannel);
    EXPECT_THAT(Journal::Entries(), IsEmpty());
}

TEST_F(ChannelListeners, MayCallSerialisedOperationsWhileAnotherIsRegistered)
{
    std::thread registering;
    std::promise<void> answered;
    auto isAnswered = answered.get_future();
    channel.Reply(0xD70024, Bytes().Text("My AP").U8(0));
    Api().RegistWifiStateChangeCallBack(&listener);
    channel.OnRequest(kRegistChannel, [&](const Sent& /*sent*/) { answered.set_value(); });
    listener.meanwhile = [&] {
        registering = std::thread([&] { Api().RegistWifiStateChangeCallBack(&other); });
        isAnswered.wait();
        EXPECT_EQ(Api().GetSSID(), "My AP");
    };
    channel.Deliver(kConnectChannel, Bytes().I32(1));
    registering.join();
    listener.meanwhile = {};
    channel.Deliver(kConnectChannel, Bytes().I32(2));
    EXPECT_THAT(Delivered({otherName}), ElementsAre(otherName + ": channel 2"));
}

}  // namespace

}  // namespace pelacon::test
