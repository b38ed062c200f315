// The Wi-Fi system API, from the application's objects to the radios and back.
#include <PelaconSDK/PelaconSDK.h>
#include <tests/end_to_end/SystemWlan.h>
#include <tests/support/Mailbox.h>
#include <tests/support/ServiceProcess.h>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <cstring>
#include <list>
#include <string>
#include <thread>

namespace pelacon::test {

namespace {

using ::testing::ElementsAre;
using ::testing::StartsWith;

constexpr char kWorld[] = R"({
    "wifi": {"switchMs": 20, "channels": [{"channel": 1}, {"channel": 6}, {"channel": 149}],
             "connected": {"ssid": "Home", "channel": 149}},
    "wifiCards": {"interfaces": [
        {"name": "wlan0", "guid": "{5E1AC0DE-0000-4000-8000-000000000001}"},
        {"name": "ap0", "guid": "{5E1AC0DE-0000-4000-8000-00000000000A}"}]},
    "softAp": {"ssid": "Desk AP", "passPhrase": "eight letters", "address": "AA:BB:CC:DD:EE:0F",
               "ipAddress": "10.0.0.1", "creation": {"ms": 1}, "removeMs": 1},
    "phone": {"model": "Phone 9", "channels": [6, 149], "connectionChannel": 6}})";

WifiSystemApi& Api()
{
    return WifiSystemApi::GetInstance();
}

/// What the application's objects received, as text. Each kind of notification has a mailbox of its
/// own, as the order of different kinds is not specified.
struct Mailboxes {
    Mailbox<std::string> connection;
    Mailbox<std::string> softAp;
    Mailbox<std::string> wifiSwitch;
    Mailbox<std::string> channel;
    Mailbox<std::string> errors;

    void Clear()
    {
        for (auto* const mailbox : {&connection, &softAp, &wifiSwitch, &channel, &errors}) {
            mailbox->Clear();
        }
    }
};

Mailboxes& Delivered()
{
    static Mailboxes& mailboxes = *new Mailboxes;
    return mailboxes;
}

class Listener : public ISoftApConnectStatus,
                 public ISoftAPNotification,
                 public IWifiStateChangeNotification,
                 public WifiRealMonitorStateCallBack,
                 public ErrorListener {
  public:
    void OnConnectStatus(int32_t status) override
    {
        Delivered().connection.Put(std::to_string(status));
    }
    void OnAdvertisementStatus(uint32_t status) override
    {
        Delivered().softAp.Put("status " + std::to_string(status));
    }
    void OnAdvertisementState(const SoftApAdvertisementState* state) override
    {
        Delivered().softAp.Put("state " + std::to_string(state->status) + ' ' +
                               std::to_string(state->channel) + ' ' +
                               std::string(state->ssid, strnlen(state->ssid, sizeof state->ssid)));
    }
    void OnDeviceConnectionStatus(uint32_t status) override
    {
        Delivered().softAp.Put("device " + std::to_string(status));
    }
    void OnWifiStateChanged(int32_t state) override
    {
        Delivered().wifiSwitch.Put(std::to_string(state));
    }
    void OnConnectChannel(int32_t channel) override
    {
        Delivered().channel.Put(std::to_string(channel));
    }
    void OnError(ErrorDetail detail) override
    {
        Delivered().errors.Put(std::to_string(detail.code) + ' ' + detail.message);
    }
};

/// Lives as long as the process, as some registrations cannot be undone.
Listener& TheListener()
{
    static Listener& listener = *new Listener;
    return listener;
}

class SoftAp : public ::testing::Test {
  protected:
    SoftAp() { EXPECT_EQ(PelaconSvcStart(), 0); }
    ~SoftAp() override
    {
        Api().UnRegistWifiStateChangeCallback(&TheListener());
        Api().UnRegisterSoftApNotificationEventCallback(&TheListener());
        PelaconSvcStop();
        Delivered().Clear();  // no callback runs any more
    }

    static SoftAPInfo Create(SoftApBand band = kSoftApBandAny, EGoPurpose purpose = kGoPurposeAny)
    {
        SoftAPInfo info;
        info.requestByte = static_cast<std::uint8_t>(band);
        info.requestInt = purpose;
        Api().SystemCreateSoftAP(info);
        return info;
    }
    static void ListenToEverything()
    {
        Api().RegistSoftApConnectStatus(&TheListener());
        EXPECT_EQ(Api().RegisterSoftApNotificationEventCallback(&TheListener()), 0);
        EXPECT_TRUE(Api().RegistWifiStateChangeCallback(&TheListener()));
        Api().RegistWifiStateChangeCallBack(&TheListener());
    }
    void Command(const nlohmann::json& command)
    {
        EXPECT_EQ(service.Command(command)["ok"], true) << command;
    }
    int Requests()
    {
        return service.Command({{"command", "status"}})["counters"]["requests"].get<int>();
    }
    void Fault(const char* request, const char* what)
    {
        Command({{"command", "fault.add"}, {"fault", {{"request", request}, {"do", what}}}});
    }

    ServiceProcess service{kWorld};
};

TEST_F(SoftAp, IsCreatedDescribedAndDestroyed)
{
    EXPECT_FALSE(Api().CheckMySoftAPExist());
    const SoftAPInfo info = Create(kSoftApBand5G, kGoPurposeTransfer);
    EXPECT_EQ(info.errorCode, kSoftApSuccess);
    EXPECT_EQ(info.ssid, "Desk AP");
    EXPECT_EQ(info.password, "eight letters");
    EXPECT_THAT(info.mac, ElementsAre(0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0x0F));
    EXPECT_EQ(info.ipAddress, "10.0.0.1");
    EXPECT_EQ(info.apByte1, 149);
    EXPECT_EQ(info.apByte2, kSoftApBand5G);
    EXPECT_TRUE(Api().CheckMySoftAPExist());
    EXPECT_EQ(Api().GetSoftAPChannel(), 149);
    EXPECT_EQ(Api().GetSSID(), "Desk AP");
    EXPECT_EQ(Api().GetLegacyAPIP(), "10.0.0.1");
    EXPECT_EQ(Create().errorCode, kSoftApAlreadyExists);
    EXPECT_EQ(Api().GetSoftApError(), kSoftApAlreadyExists);
    EXPECT_EQ(Api().SystemDestroySoftAP(kGoPurposeScreen), kSoftApOtherPurpose);
    EXPECT_EQ(Api().SystemDestroySoftAP(kGoPurposeTransfer), kSoftApSuccess);
    EXPECT_EQ(Api().SystemDestroySoftAP(kGoPurposeAny), kSoftApNotExisting);
    EXPECT_EQ(Api().GetSoftAPChannel(), 0);
    EXPECT_EQ(Api().GetLegacyAPIP(), "");
}

TEST_F(SoftAp, ListenersReceiveItsStates)
{
    ListenToEverything();
    EXPECT_EQ(Create(kSoftApBand24G).apByte1, 6);
    EXPECT_EQ(Delivered().softAp.Next(), "status 1");
    EXPECT_EQ(Delivered().softAp.Next(), "state 1 6 Desk AP");
    Command({{"command", "softap.join"}, {"address", "02:00:00:00:00:01"}});
    EXPECT_EQ(Delivered().softAp.Next(), "device 1");
    EXPECT_EQ(Delivered().connection.Next(), "1");
    EXPECT_EQ(Api().SetAPFrequence(true), 149);
    EXPECT_EQ(Delivered().softAp.Next(), "status 2");
    EXPECT_EQ(Delivered().softAp.Next(), "state 2 149 Desk AP");
    Api().SystemDestroySoftAP(kGoPurposeAny);
    EXPECT_EQ(Delivered().softAp.Next(), "device 0");
    EXPECT_EQ(Delivered().connection.Next(), "0");
    EXPECT_EQ(Delivered().softAp.Next(), "status 0");
    EXPECT_EQ(Delivered().softAp.Next(), "state 0 0 ");
}

TEST_F(SoftAp, AnUnregisteredListenerIsNotCalled)
{
    ListenToEverything();
    EXPECT_EQ(Api().UnRegisterSoftApNotificationEventCallback(&TheListener()), 0);
    Create();
    Command({{"command", "softap.join"}, {"address", "02:00:00:00:00:01"}});
    EXPECT_EQ(Delivered().connection.Next(), "1") << "which is notified after the others";
    EXPECT_EQ(Delivered().softAp.Left(), 0U);
}

TEST_F(SoftAp, IsRenamed)
{
    Api().ChangeSSIDAndPasswd();
    const std::string ssid = Api().GetSSID();
    EXPECT_THAT(ssid, StartsWith("Pelacon-"));
    const SoftAPInfo info = Create();
    EXPECT_EQ(info.ssid, ssid);
    EXPECT_NE(info.password, "eight letters");
}

TEST_F(SoftAp, ItsAdapterIsRestartedAndCounted)
{
    EXPECT_EQ(Api().GetAdapterIndex(), 2U);
    EXPECT_EQ(Api().GetAdapterGuid(), "{5E1AC0DE-0000-4000-8000-00000000000A}");
    Create();
    EXPECT_TRUE(Api().RestartWiFiDirectVirtualAdapter(false));
    EXPECT_FALSE(Api().CheckMySoftAPExist());
    EXPECT_TRUE(Api().RestartWiFiDirectVirtualAdapter(true));
    EXPECT_EQ(Api().GetRestartCount(), 2U);
    EXPECT_EQ(Api().GetWakeUpRestartCount(), 1U);
    Api().ResetWakeUpCount();
    EXPECT_EQ(Api().GetWakeUpRestartCount(), 0U);
    Api().SetRestartMobileHotpotFlag(true);
    EXPECT_TRUE(Api().GetRestartMobileHotpotFlag());
}

TEST_F(SoftAp, DevicesAndConnectionsAreReported)
{
    std::string model;
    EXPECT_TRUE(Api().GetPairDeviceModelName(model));
    EXPECT_EQ(model, "Phone 9");
    EXPECT_TRUE(Api().SetPairDeviceModelName("Phone 10"));
    EXPECT_TRUE(Api().GetPairDeviceModelName(model));
    EXPECT_EQ(model, "Phone 10");
    EXPECT_TRUE(Api().SetListProductType({"phone", "tablet"}));
    int channel = 0;
    std::string ssid;
    EXPECT_TRUE(Api().IsAPConnected(channel, ssid));
    EXPECT_EQ(channel, 149);
    EXPECT_EQ(ssid, "Home");
}

TEST_F(SoftAp, ChannelsAreKeptAndComputed)
{
    std::string channels24G;
    std::string channels5G;
    int current = 0;
    Api().GetPCChannelList(channels24G, channels5G, current);
    EXPECT_EQ(channels24G, "1,6");
    EXPECT_EQ(channels5G, "149");
    EXPECT_EQ(current, 149);
    std::list<int> list24G;
    std::list<int> list5G;
    Api().GetPCSupportChannelList(list24G, list5G, current);
    EXPECT_THAT(list24G, ElementsAre(1, 6));
    EXPECT_THAT(list5G, ElementsAre(149));

    Api().RemovePhoneSupportChannels();
    EXPECT_THAT(Api().GetRecordPhoneChannelList(), ElementsAre());
    Api().AddPhoneSupportChannel(149);
    Api().AddPhoneSupportChannel(36);
    Api().AddPhoneSupport24Channel(1);
    EXPECT_THAT(Api().GetRecordPhoneChannelList(), ElementsAre(149, 36));
    EXPECT_THAT(Api().GetRecordPhone24GChannelList(), ElementsAre(1));
    std::string all;
    Api().GetPhoneChannelList(all);
    EXPECT_EQ(all, "1,149,36");
    Api().SetPhoneCurrentChannel(1);
    EXPECT_EQ(Api().GetRecordPhoneChannel(), 1);

    EXPECT_EQ(Api().RepickChannelWithoutEffect(true), 149);
    EXPECT_EQ(Api().RepickChannelWithoutEffect(false), 1);
    EXPECT_EQ(Create().apByte1, 1);
    EXPECT_EQ(Api().SystemRefreshSoftAPChannel(), 1);
    Api().CheckIsSet5GFailed();
    EXPECT_EQ(Api().GetSoftAPChannel(), 1);

    EXPECT_EQ(Api().GetFrequenceType(36), kWifiFrequence5G);
    EXPECT_EQ(Api().GetFrequenceType(6), kWifiFrequence24G);
    EXPECT_EQ(Api().GetFrequenceType(15), kWifiFrequenceUnknown);
    EXPECT_TRUE(Api().Is5GChannel(36));
    EXPECT_FALSE(Api().Is5GChannel(6));
    EXPECT_TRUE(Api().Is24GChannel(6));
    EXPECT_EQ(Api().GetFrequencyFromChannel(6), 2437);
    EXPECT_EQ(Api().GetFrequencyFromChannel(149), 5745);
}

TEST_F(SoftAp, TheSwitchIsCompleteWhenItIsAnswered)
{
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(Api().EnableWifi(false), kEnableWifiSuccess);
        EXPECT_EQ(Api().GetWifiState(), kWifiStateOff);
        EXPECT_EQ(Api().EnableWifi(true), kEnableWifiSuccess);
        EXPECT_EQ(Create().errorCode, kSoftApSuccess);
        EXPECT_EQ(Api().SystemDestroySoftAP(kGoPurposeAny), kSoftApSuccess);
    }
}

TEST_F(SoftAp, SwitchChangesAreReported)
{
    ListenToEverything();
    EXPECT_EQ(Api().GetWifiState(), kWifiStateOn);
    EXPECT_EQ(Api().EnableWifi(false), kEnableWifiSuccess);
    EXPECT_EQ(Delivered().wifiSwitch.Next(), "1");
    EXPECT_EQ(Api().GetWifiState(), kWifiStateOff);
    EXPECT_EQ(Create().errorCode, kSoftApWifiOff);
    EXPECT_EQ(Api().EnableWifi(true), kEnableWifiSuccess);
    EXPECT_EQ(Delivered().wifiSwitch.Next(), "2");
}

TEST_F(SoftAp, ThePhonesChannelIsReported)
{
    ListenToEverything();
    Command({{"command", "phone.channel"}, {"channel", 149}});
    EXPECT_EQ(Delivered().channel.Next(), "149");
    EXPECT_EQ(Api().GetRecordPhoneChannel(), 149);
}

TEST_F(SoftAp, ErrorsOfTheServiceReachListeners)
{
    EXPECT_TRUE(Api().RegistListener(&TheListener()));
    // The event connection may not be established yet.
    EXPECT_TRUE(Eventually([&] {
        return service.Command({{"command", "error"}, {"code", 0x10000001}})["sent"] == 1;
    }));
    EXPECT_EQ(Delivered().errors.Next(), "268435457 go already exist");
    Command({{"command", "error"}, {"code", 5}});
    EXPECT_EQ(Delivered().errors.Next(), "5 unknow");
    Api().PostNotification(kConnectBleSendFail);
    EXPECT_EQ(Delivered().errors.Next(), "536870912 ble send fail");
    EXPECT_TRUE(Api().UnregistListener(&TheListener()));
}

TEST_F(SoftAp, UnansweredOperationsReturnTheirValues)
{
    for (const char* request :
         {"SystemCreateSoftAP", "SystemDestroySoftAP", "GetSoftApError", "GetSSID", "EnableWifi",
          "GetWifiState", "GetFrequenceType", "RegisterSoftApNotificationEventCallback"}) {
        Fault(request, "empty");
    }
    SoftAPInfo info;
    info.ssid = "as it was";
    EXPECT_EQ(Api().SystemCreateSoftAP(info), -1);
    EXPECT_EQ(info.ssid, "as it was");
    EXPECT_EQ(Api().SystemDestroySoftAP(kGoPurposeAny), -1);
    EXPECT_EQ(Api().GetSoftApError(), -1);
    EXPECT_EQ(Api().GetSSID(), "");
    EXPECT_EQ(Api().EnableWifi(true), kEnableWifiNoAnswer);
    EXPECT_EQ(Api().GetWifiState(), kWifiStateUnknown);
    EXPECT_EQ(Api().GetFrequenceType(36), kWifiFrequenceUnknown);
    EXPECT_EQ(Api().RegisterSoftApNotificationEventCallback(&TheListener()), -1);
}

TEST_F(SoftAp, WithoutAServiceOperationsEndAtOnce)
{
    EXPECT_EQ(Api().GetWifiState(), kWifiStateOn);
    service.End();
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(Create().errorCode, 0) << "untouched";
    EXPECT_EQ(Api().SystemDestroySoftAP(kGoPurposeAny), -1);
    EXPECT_EQ(Api().EnableWifi(true), kEnableWifiNoAnswer);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(4));
}

TEST_F(SoftAp, ScanningGoesToTheSystem)
{
    service.End();
    for (int scan = 0; scan < 2; ++scan) {
        EXPECT_EQ(Api().Scan(), SystemHasWlan());
    }
}

TEST_F(SoftAp, RegistrationsAreRepeatedAfterARestart)
{
    ListenToEverything();
    Create();
    EXPECT_EQ(Delivered().softAp.Next(), "status 1");
    Delivered().softAp.Next();
    service.Restart();
    EXPECT_EQ(Delivered().softAp.Next(), "status 0") << "the restart ended the soft AP";
    EXPECT_EQ(Delivered().softAp.Next(), "state 0 0 ");
    EXPECT_EQ(Delivered().softAp.Next(), "device 0");
    EXPECT_EQ(Delivered().connection.Next(), "0");
    EXPECT_EQ(Delivered().wifiSwitch.Next(), "2");
    EXPECT_EQ(Delivered().channel.Next(), "6");
    EXPECT_TRUE(Eventually([&] { return Requests() == 5; }))
        << "the repair, and a request for each kind of listener";
    EXPECT_EQ(Create(kSoftApBand24G).errorCode, kSoftApSuccess);
    EXPECT_EQ(Delivered().softAp.Next(), "status 1");
    EXPECT_EQ(Delivered().softAp.Next(), "state 1 6 Desk AP");
    Command({{"command", "softap.join"}, {"address", "02:00:00:00:00:01"}});
    EXPECT_EQ(Delivered().connection.Next(), "1");
    Command({{"command", "phone.channel"}, {"channel", 149}});
    EXPECT_EQ(Delivered().channel.Next(), "149");
    EXPECT_EQ(Api().EnableWifi(false), kEnableWifiSuccess);
    EXPECT_EQ(Delivered().wifiSwitch.Next(), "1");
}

TEST_F(SoftAp, RegistrationsAreRepeatedAfterALostConnection)
{
    ListenToEverything();
    const int before = Requests();
    Command({{"command", "disconnect"}});
    EXPECT_TRUE(Eventually([&] { return Requests() == before + 5; }))
        << "the repair, and a request for each kind of listener";
    EXPECT_EQ(Delivered().channel.Next(), "6");
    Command({{"command", "phone.channel"}, {"channel", 149}});
    EXPECT_EQ(Delivered().channel.Next(), "149");
}

TEST_F(SoftAp, AfterALostConnectionListenersAreNotifiedOfTheStateAsItIs)
{
    ListenToEverything();
    Create(kSoftApBand5G);
    EXPECT_EQ(Delivered().softAp.Next(), "status 1");
    EXPECT_EQ(Delivered().softAp.Next(), "state 1 149 Desk AP");
    Command({{"command", "softap.join"}, {"address", "02:00:00:00:00:01"}});
    EXPECT_EQ(Delivered().softAp.Next(), "device 1");
    EXPECT_EQ(Delivered().connection.Next(), "1");
    Command({{"command", "disconnect"}});
    EXPECT_EQ(Delivered().softAp.Next(), "status 1");
    EXPECT_EQ(Delivered().softAp.Next(), "state 1 149 Desk AP");
    EXPECT_EQ(Delivered().softAp.Next(), "device 1");
    EXPECT_EQ(Delivered().connection.Next(), "1");
    EXPECT_EQ(Delivered().wifiSwitch.Next(), "2");
    EXPECT_EQ(Delivered().channel.Next(), "6");
}

TEST_F(SoftAp, AnObjectRegisteredWithoutAServiceIsCalledOnceThereIsOne)
{
    PelaconSvcStop();
    service.End();
    EXPECT_EQ(PelaconSvcStart(), 0);
    Api().RegistSoftApConnectStatus(&TheListener());
    service.Start();
    Create();
    Command({{"command", "softap.join"}, {"address", "02:00:00:00:00:01"}});
    EXPECT_EQ(Delivered().connection.Next(), "1");
}

TEST(SlowSoftAp, ACreationWhoseConnectionIsLostIsNotAnswered)
{
    const ServiceProcess service(R"({"softAp": {"creation": {"ms": 60000}}})");
    ASSERT_EQ(PelaconSvcStart(), 0);
    std::thread losing([&] {
        EXPECT_TRUE(Eventually([&] {
            return service.Command({{"command", "status"}})["softAp"]["beingMade"].get<bool>();
        }));
        service.Command({{"command", "disconnect"}});
    });
    SoftAPInfo info;
    info.ssid = "as it was";
    EXPECT_EQ(Api().SystemCreateSoftAP(info), -1) << "the outcome is not known";
    EXPECT_EQ(info.ssid, "as it was");
    losing.join();
    EXPECT_EQ(Api().SystemDestroySoftAP(kGoPurposeAny), kSoftApSuccess) << "the creation continues";
    PelaconSvcStop();
}

}  // namespace

}  // namespace pelacon::test
