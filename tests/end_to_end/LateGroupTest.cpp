// Groups that appear after the creating call has timed out, with the real service. The library's
// time-out is shortened here; LateGroupLongTest uses the full one.
#include <PelaconSDK/PelaconSvc.h>
#include <PelaconSDK/Vod2dApi.h>
#include <sdk/ipc/IPCMessageSender.h>
#include <tests/support/Mailbox.h>
#include <tests/support/RuntimeFolder.h>
#include <tests/support/ServiceProcess.h>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <optional>
#include <string>
#include <thread>

namespace pelacon::test {

namespace {

using namespace std::chrono_literals;

constexpr auto kShortWait = 40ms;
constexpr auto kFullWait = 20s;

Mailbox<std::string>& Delivered()
{
    static auto& delivered = *new Mailbox<std::string>;
    return delivered;
}

Vod2dWifiBroadcastRecvCb table{
    [](Vod2dGroupChange change) {
        Delivered().Put(std::to_string(change.state) + " because " + std::to_string(change.reason));
    },
    nullptr,
};

class LateGroup : public ::testing::Test {
  protected:
    LateGroup() { Delivered().Clear(); }
    ~LateGroup() override
    {
        LimitWaits(kFullWait);
        Vod2dApi::Vod2dUnRegisterSoftAPStateChangedCallback(&table);
        PelaconSvcStop();
    }

    /// Starts the service with these first creations, starts the library and registers the table.
    void StartService(const std::string& firstCreations)
    {
        service.emplace(R"({"group": {"creation": {"ms": 1}, "removeMs": 1, "firstCreations": )" +
                        firstCreations + "}}");
        EXPECT_EQ(PelaconSvcStart(), 0);
        EXPECT_EQ(Vod2dApi::Vod2dRegisterSoftAPStateChangedCallback(&table), 0);
    }

    static void LimitWaits(std::chrono::milliseconds longest)
    {
        IPCMessageSender::GetInstance().LimitWaits(longest);
    }

    static WifiErrorCode Create()
    {
        Vod2dSoftAPInfo info{};
        return Vod2dApi::Vod2dCreateGroup(&info);
    }
    /// A creation that times out. The library's own requests afterwards have the full time again.
    static void TimeOutACreation()
    {
        LimitWaits(kShortWait);
        EXPECT_EQ(Create(), kWifiNoReply);
        LimitWaits(kFullWait);
    }
    bool GroupExists() const
    {
        return service->Command({{"command", "status"}})["group"]["exists"].get<bool>();
    }

    std::optional<ServiceProcess> service;
};

TEST_F(LateGroup, IsRemovedWithoutACallback)
{
    StartService(R"([{"ms": 300}])");
    TimeOutACreation();
    // The first callback reports the removal that the library itself requested.
    EXPECT_EQ(Delivered().Next(), "0 because 0");
    EXPECT_FALSE(GroupExists());
    EXPECT_EQ(service->Command({{"command", "status"}})["counters"]["repliesToNobody"], 1);
    // The library removes one group only: the next one is the application's.
    EXPECT_EQ(Create(), kWifiSuccess);
    EXPECT_EQ(Delivered().Next(), "1 because 0");
    EXPECT_TRUE(GroupExists());
}

TEST_F(LateGroup, AFailedCreationIsReportedAndEndsTheWatch)
{
    StartService(R"([{"ms": 300, "fails": true}])");
    TimeOutACreation();
    EXPECT_EQ(Delivered().Next(), "0 because 10");
    EXPECT_EQ(Create(), kWifiSuccess);
    EXPECT_EQ(Delivered().Next(), "1 because 0");
    EXPECT_TRUE(GroupExists());
}

TEST_F(LateGroup, ARestartEndsTheWatch)
{
    StartService(R"([{"ms": 600000}])");
    TimeOutACreation();
    service->Restart();
    EXPECT_EQ(Delivered().Next(), "0 because 11") << "the new service reports that there is none";
    Vod2dSoftAPInfo info{};
    EXPECT_EQ(Vod2dApi::Vod2dGetGroupConfig(&info), 0);
}

TEST_F(LateGroup, ARemovalBeforeItAppearsEndsTheWatch)
{
    StartService(R"([{"ms": 600000}])");
    TimeOutACreation();
    EXPECT_EQ(Vod2dApi::Vod2dRemoveGroup(), kWifiSuccess);
    EXPECT_EQ(Delivered().Next(), "0 because 11");
    EXPECT_EQ(Create(), kWifiSuccess);
    EXPECT_EQ(Delivered().Next(), "1 because 0");
}

TEST_F(LateGroup, EndsWithTheServiceThatCreatesIt)
{
    StartService(R"([{"ms": 600000}])");
    std::thread ending([&] {
        EXPECT_TRUE(Eventually([&] {
            return service->Command({{"command", "status"}})["group"]["beingMade"].get<bool>();
        }));
        service->End();
    });
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(Create(), kWifiInterrupted);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, kFullWait / 2) << "at once, not in 20 s";
    ending.join();
}

TEST_F(LateGroup, IsRemovedWhileTheApplicationWaitsForAnotherRequest)
{
    // The removal, on the receive thread, waits until the application's request is answered.
    StartService(R"([{"ms": 300}])");
    service->Command({{"command", "fault.add"},
                      {"fault", {{"request", "Vod2dGetFrequency"}, {"do", "delay"}, {"ms", 600}}}});
    TimeOutACreation();
    EXPECT_EQ(Vod2dApi::Vod2dGetFrequency(), 5745) << "the late group exists meanwhile";
    EXPECT_EQ(Delivered().Next(), "0 because 0");
    EXPECT_FALSE(GroupExists());
}

TEST_F(LateGroup, IsRemovedThoughNoTableIsRegistered)
{
    service.emplace(R"({"group": {"creation": {"ms": 300}, "removeMs": 1}})");
    EXPECT_EQ(PelaconSvcStart(), 0);
    TimeOutACreation();
    // The requests are the creation and the removal.
    EXPECT_TRUE(Eventually([&] {
        return service->Command({{"command", "status"}})["counters"]["requests"] == 2;
    }));
    EXPECT_TRUE(Eventually([&] { return !GroupExists(); }));
}

TEST_F(LateGroup, IsRemovedThoughTheConnectionIsLostWhileItIsMade)
{
    StartService(R"([{"ms": 600}])");
    TimeOutACreation();
    service->Command({{"command", "disconnect"}});
    // The first notification reports the removal, not that there is no group yet, which would end
    // the library's watch.
    EXPECT_EQ(Delivered().Next(), "0 because 0");
    EXPECT_FALSE(GroupExists());
}

TEST_F(LateGroup, CannotComeOfACreationThatReachedNoService)
{
    UseOwnRuntimeFolder();
    EXPECT_EQ(PelaconSvcStart(), 0);
    EXPECT_EQ(Create(), kWifiNoReply);
    StartService("[]");
    EXPECT_EQ(Create(), kWifiSuccess);
    EXPECT_EQ(Delivered().Next(), "1 because 0")
        << "the library removes it instead of notifying of it";
    EXPECT_TRUE(GroupExists());
}

TEST_F(LateGroup, StaysWhenItsRemovalIsNotAnswered)
{
    StartService(R"([{"ms": 300}])");
    service->Command({{"command", "fault.add"},
                      {"fault", {{"request", "Vod2dRemoveGroup"}, {"do", "empty"}, {"times", 1}}}});
    TimeOutACreation();
    EXPECT_TRUE(Eventually([&] {
        return service->Command({{"command", "status"}})["counters"]["faults"] == 1;
    }));
    EXPECT_TRUE(GroupExists());
    EXPECT_EQ(Delivered().Left(), 0U) << "the application is not notified of it";
    EXPECT_EQ(Vod2dApi::Vod2dRemoveGroup(), kWifiSuccess);
    EXPECT_EQ(Delivered().Next(), "0 because 0");
}

}  // namespace

}  // namespace pelacon::test
