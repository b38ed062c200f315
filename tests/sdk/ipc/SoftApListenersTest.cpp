// The objects that are called for the soft AP.
#include <PelaconSDK/PelaconSvc.h>
#include <PelaconSDK/WifiSystemApi.h>
#include <sdk/ipc/IPCMessageSender.h>
#include <sdk/ipc/SoftApListeners.h>
#include <tests/sdk/WifiListener.h>
#include <tests/support/SdkTest.h>

#include <chrono>
#include <cstring>
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

constexpr std::int32_t kRegistConnectStatus = 0xD70005;
constexpr std::int32_t kRegister = 0xD70098;
constexpr std::int32_t kUnRegister = 0xD70099;
constexpr std::int32_t kConnectStatus = 0xD80006;
constexpr std::int32_t kAdvertisement = 0xD80007;
constexpr std::int32_t kDeviceConnection = 0xD80008;

/// Begins without registered objects.
class SoftApListenersTest : public SdkTest {
  protected:
    void SetUp() override
    {
        SdkTest::SetUp();
        Registry<SoftApListeners>().SetSoftApConnectStatus(nullptr);
        ForgetWhatHappened();
        channel.Reply(kRegistConnectStatus, Bytes().U8(0));
        channel.Reply(kRegister, Bytes().I32(0));
        channel.Reply(kUnRegister, Bytes().I32(0));
    }
    void TearDown() override
    {
        auto& listeners = Registry<SoftApListeners>();
        listeners.SetSoftApConnectStatus(nullptr);
        for (ISoftAPNotification* listener :
             {static_cast<ISoftAPNotification*>(&a), static_cast<ISoftAPNotification*>(&b),
              static_cast<ISoftAPNotification*>(nullptr)}) {
            listeners.RemoveSoftApNotificationCallback(listener);
        }
        SdkTest::TearDown();
    }

    Named a{"A"};
    Named b{"B"};
};

// ---- The one object for connect statuses

TEST_F(SoftApListenersTest, TheConnectStatusObjectReceivesTheFirstWord)
{
    Api().RegistSoftApConnectStatus(&a);
    channel.Deliver(kConnectStatus, Bytes().I32(-3).I32(9));
    EXPECT_THAT(Delivered(), ElementsAre("A: connect -3"));
}

TEST_F(SoftApListenersTest, ALaterConnectStatusObjectReplacesTheEarlier)
{
    Api().RegistSoftApConnectStatus(&a);
    Api().RegistSoftApConnectStatus(&b);
    channel.Deliver(kConnectStatus, Bytes().I32(1));
    EXPECT_THAT(Delivered(), ElementsAre("B: connect 1"));
}

TEST_F(SoftApListenersTest, TheConnectStatusObjectIsKeptWhateverTheReply)
{
    channel.ReplyNothing(kRegistConnectStatus);
    Api().RegistSoftApConnectStatus(&a);
    EXPECT_EQ(LogLines::All().back(), NoReply("WifiSystemApi::RegistSoftApConnectStatus"));
    channel.Deliver(kConnectStatus, Bytes().I32(1));
    EXPECT_THAT(Delivered(), ElementsAre("A: connect 1"));
}

TEST_F(SoftApListenersTest, KeepingTheConnectStatusObjectIsLogged)
{
    constexpr auto kFunction = "WifiSystemApi::RegistSoftApConnectStatus";
    constexpr auto kSet = "IPCMessageSender::SetSoftApConnectStatus";
    Api().RegistSoftApConnectStatus(&a);
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Start(kFunction), Start(kSet), End(kSet), End(kFunction)));
}

TEST_F(SoftApListenersTest, ANullConnectStatusObjectSendsNothing)
{
    constexpr auto kFunction = "WifiSystemApi::RegistSoftApConnectStatus";
    Api().RegistSoftApConnectStatus(&a);
    ForgetWhatHappened();
    Api().RegistSoftApConnectStatus(nullptr);
    EXPECT_THAT(channel.Requests(), IsEmpty());
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Start(kFunction), Line(3, "callback is nullptr, return", kFunction)));
    channel.Deliver(kConnectStatus, Bytes().I32(1));
    EXPECT_THAT(Delivered(), ElementsAre("A: connect 1")) << "the earlier one is kept";
}

TEST_F(SoftApListenersTest, WithoutAConnectStatusObjectNothingIsCalled)
{
    constexpr auto kFunction = "IPCMessageSender::ConnectStatusCallBack";
    channel.Deliver(kConnectStatus, Bytes().I32(1));
    EXPECT_THAT(LogLines::All(), ElementsAre(Start(kFunction), End(kFunction)));
}

TEST_F(StoppedSdkTest, AConnectStatusObjectThatCannotBeSentIsNotKept)
{
    Registry<SoftApListeners>().SetSoftApConnectStatus(nullptr);
    ForgetWhatHappened();
    Named listener("A");
    Api().RegistSoftApConnectStatus(&listener);
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Start("WifiSystemApi::RegistSoftApConnectStatus"), NotStarted()));
    EXPECT_FALSE(Registry<SoftApListeners>().HasSoftApConnectStatus());
}

TEST_F(SoftApListenersTest, ACallbackMayCallSerialisedOperationsWhileAnotherObjectIsRegistered)
{
    std::thread registering;
    std::promise<void> answered;
    channel.Reply(0xD70024, Bytes().Text("My AP").U8(0));
    Api().RegistSoftApConnectStatus(&a);
    channel.OnRequest(kRegistConnectStatus, [&](const Sent& /*sent*/) { answered.set_value(); });
    a.meanwhile = [&] {
        registering = std::thread([&] { Api().RegistSoftApConnectStatus(&b); });
        answered.get_future().wait();
        EXPECT_EQ(Api().GetSSID(), "My AP");
    };
    channel.Deliver(kConnectStatus, Bytes().I32(1));
    registering.join();
    channel.Deliver(kConnectStatus, Bytes().I32(0));
    EXPECT_THAT(Delivered(), ElementsAre("A: connect 1", "B: connect 0"));
}

// ---- The objects for all other notifications

TEST_F(SoftApListenersTest, AnAdvertisementIsTwoEventsStatusThenState)
{
    Api().RegisterSoftApNotificationEventCallback(&a);
    Api().RegisterSoftApNotificationEventCallback(&b);
    channel.Deliver(kAdvertisement, Bytes().U32(0xFFFFFFFF).I32(149).Text("My AP", 32));
    EXPECT_THAT(Delivered(),
                ElementsAre("A: status 4294967295", "B: status 4294967295",
                            "A: state 4294967295 149 My AP", "B: state 4294967295 149 My AP"));
    constexpr auto kStatus = "IPCMessageSender::SoftapAdvertisemenStatusBack";
    constexpr auto kState = "IPCMessageSender::SoftapAdvertisemenStateBack";
    const std::vector<LogLine> lines = LogLines::All();
    EXPECT_THAT(std::vector(lines.end() - 4, lines.end()),
                ElementsAre(Start(kStatus), End(kStatus), Start(kState), End(kState)));
}

TEST_F(SoftApListenersTest, TheWholeAdvertisementIsPassedOnUnchanged)
{
    /// Also reads the bytes of the record that have no name.
    class ReadsAllBytes : public Named {
      public:
        ReadsAllBytes() : Named("A") {}
        void OnAdvertisementState(const SoftApAdvertisementState* state) override
        {
            const auto* bytes = reinterpret_cast<const std::uint8_t*>(state);
            seen.assign(bytes, bytes + 500);
        }
        ByteVector seen;
    };
    ReadsAllBytes reader;
    Api().RegisterSoftApNotificationEventCallback(&reader);
    channel.Deliver(kAdvertisement, Counting(500));
    EXPECT_EQ(reader.seen, Counting(500));
    Api().UnRegisterSoftApNotificationEventCallback(&reader);
}

TEST_F(SoftApListenersTest, ADeviceIsDeliveredInOrderOfRegistration)
{
    constexpr auto kFunction = "IPCMessageSender::SoftapDeviceConnectionStatusBack";
    Api().RegisterSoftApNotificationEventCallback(&b);
    Api().RegisterSoftApNotificationEventCallback(&a);
    ForgetWhatHappened();
    channel.Deliver(kDeviceConnection, Bytes().U32(0x80000001).U32(5));
    EXPECT_THAT(Delivered(), ElementsAre("B: device 2147483649", "A: device 2147483649"));
    EXPECT_THAT(LogLines::All(), ElementsAre(Start(kFunction), End(kFunction)));
}

TEST_F(SoftApListenersTest, NotificationsWithoutPayloadAreIgnored)
{
    Api().RegistSoftApConnectStatus(&a);
    Api().RegisterSoftApNotificationEventCallback(&a);
    ForgetWhatHappened();
    for (const std::int32_t id : {kConnectStatus, kAdvertisement, kDeviceConnection}) {
        channel.DeliverWithoutPayload(id);
    }
    EXPECT_THAT(Delivered(), IsEmpty());
    EXPECT_THAT(LogLines::All(), IsEmpty());
}

TEST_F(SoftApListenersTest, AnObjectIsKeptOnce)
{
    const auto already =
        Line(1, "notification already exist", "IPCMessageSender::AddSoftApNotificationCallback");
    EXPECT_EQ(Api().RegisterSoftApNotificationEventCallback(&a), 0);
    EXPECT_THAT(LogLines::All(), Not(Contains(already)));
    EXPECT_EQ(Api().RegisterSoftApNotificationEventCallback(&a), 0);
    EXPECT_THAT(LogLines::All(), Contains(already));
    channel.Deliver(kDeviceConnection, Bytes().U32(1));
    EXPECT_THAT(Delivered(), ElementsAre("A: device 1"));
}

TEST_F(SoftApListenersTest, AnObjectIsForgotten)
{
    const auto absent =
        Line(1, "notification not exist", "IPCMessageSender::RemoveSoftApNotificationCallback");
    Api().RegisterSoftApNotificationEventCallback(&a);
    Api().RegisterSoftApNotificationEventCallback(&b);
    EXPECT_EQ(Api().UnRegisterSoftApNotificationEventCallback(&a), 0);
    EXPECT_THAT(LogLines::All(), Not(Contains(absent)));
    EXPECT_EQ(Api().UnRegisterSoftApNotificationEventCallback(&a), 0);
    EXPECT_THAT(LogLines::All(), Contains(absent));
    channel.Deliver(kDeviceConnection, Bytes().U32(1));
    EXPECT_THAT(Delivered(), ElementsAre("B: device 1"));
}

TEST_F(SoftApListenersTest, ARefusalOfTheServiceChangesNothing)
{
    Api().RegisterSoftApNotificationEventCallback(&a);
    channel.Reply(kRegister, Bytes().I32(4));
    channel.Reply(kUnRegister, Bytes().I32(5));
    EXPECT_EQ(Api().RegisterSoftApNotificationEventCallback(&b), 4);
    EXPECT_EQ(Api().UnRegisterSoftApNotificationEventCallback(&a), 5);
    channel.ReplyNothing(kRegister);
    channel.ReplyNothing(kUnRegister);
    EXPECT_EQ(Api().RegisterSoftApNotificationEventCallback(&b), -1);
    EXPECT_EQ(Api().UnRegisterSoftApNotificationEventCallback(&a), -1);
    channel.Deliver(kDeviceConnection, Bytes().U32(1));
    EXPECT_THAT(Delivered(), ElementsAre("A: device 1"));
}

TEST_F(SoftApListenersTest, NullIsKeptButNeverCalled)
{
    EXPECT_EQ(Api().RegisterSoftApNotificationEventCallback(nullptr), 0);
    Api().RegisterSoftApNotificationEventCallback(&a);
    channel.Deliver(kDeviceConnection, Bytes().U32(1));
    channel.Deliver(kAdvertisement, Bytes().U32(1).Zeros(36));
    EXPECT_THAT(Delivered(), ElementsAre("A: device 1", "A: status 1", "A: state 1 0 "));
}

TEST_F(SoftApListenersTest, TheListIsLockedWhileItIsCalled)
{
    std::thread unregistering;
    std::promise<void> gone;
    auto isGone = gone.get_future();
    Api().RegisterSoftApNotificationEventCallback(&a);
    a.meanwhile = [&] {
        unregistering = std::thread([&] {
            Api().UnRegisterSoftApNotificationEventCallback(&a);
            gone.set_value();
        });
        EXPECT_EQ(isGone.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
    };
    channel.Deliver(kDeviceConnection, Bytes().U32(1));
    unregistering.join();
    channel.Deliver(kDeviceConnection, Bytes().U32(0));
    EXPECT_THAT(Delivered(), ElementsAre("A: device 1"));
}

TEST_F(SoftApListenersTest, ObjectsOutliveAStopOfTheLibrary)
{
    Api().RegistSoftApConnectStatus(&a);
    Api().RegisterSoftApNotificationEventCallback(&b);
    PelaconSvcStop();
    PelaconSvcStart();
    channel.Deliver(kConnectStatus, Bytes().I32(1));
    channel.Deliver(kDeviceConnection, Bytes().U32(1));
    EXPECT_THAT(Delivered(), ElementsAre("A: connect 1", "B: device 1"));
}

}  // namespace

}  // namespace pelacon::test
