// The state of the service, as changes of the connection and announcements of the service make it.
#include <IPCMessage/ServicePresence.h>
#include <PelaconSDK/PelaconSvc.h>
#include <PelaconSDK/ServiceState.h>
#include <tests/sdk/LinkIds.h>
#include <tests/support/SdkTest.h>

#include <stdexcept>
#include <vector>

namespace pelacon::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Presence = ipc::ServicePresence;
using States = std::vector<PelaconServiceState>;

class ServiceStateTest : public SdkTest {
  protected:
    ServiceStateTest()
    {
        PelaconSetServiceSink(&states, [](void* context, PelaconServiceState state) {
            EXPECT_EQ(PelaconGetServiceState(), state);
            static_cast<States*>(context)->push_back(state);
        });
    }
    ~ServiceStateTest() override { PelaconSetServiceSink(nullptr, nullptr); }

    void Announce(std::int32_t repairStatus)
    {
        channel.Reply(kRepair, Bytes().I32(repairStatus));
        channel.DeliverWithoutPayload(kServiceStarted);
    }

    States states;
};

TEST_F(ServiceStateTest, IsNotFoundAtFirst)
{
    EXPECT_EQ(PelaconGetServiceState(), kPelaconServiceNotFound);
    EXPECT_THAT(states, IsEmpty());
}

TEST_F(ServiceStateTest, FollowsTheConnectionAndTheAnnouncements)
{
    Presence::Report(Presence::Change::kFound);
    Presence::Report(Presence::Change::kLost);
    Announce(0);
    Presence::Report(Presence::Change::kLost);
    Announce(0);
    EXPECT_THAT(states,
                ElementsAre(kPelaconServiceAvailable, kPelaconServiceLost, kPelaconServiceRestarted,
                            kPelaconServiceLost, kPelaconServiceRestarted));
}

TEST_F(ServiceStateTest, IsLostOnce)
{
    Presence::Report(Presence::Change::kFound);
    Presence::Report(Presence::Change::kLost);
    Presence::Report(Presence::Change::kLost);  // connected again, and lost before the announcement
    EXPECT_THAT(states, ElementsAre(kPelaconServiceAvailable, kPelaconServiceLost));
}

TEST_F(ServiceStateTest, IsNotRepairedIfTheServiceDoesNotAnswerOrRefuses)
{
    channel.DeliverWithoutPayload(kServiceStarted);
    EXPECT_EQ(PelaconGetServiceState(), kPelaconServiceNotRepaired);
    Announce(3);
    EXPECT_THAT(states, ElementsAre(kPelaconServiceNotRepaired, kPelaconServiceNotRepaired));
}

TEST_F(ServiceStateTest, IsNotRepairedIfNoProcessOfTheServiceIsFound)
{
    Processes::Set({{1, "/sbin/init", L"init"}});
    Announce(0);
    EXPECT_THAT(states, ElementsAre(kPelaconServiceNotRepaired));
    EXPECT_THAT(channel.Requests(), IsEmpty());
}

TEST_F(ServiceStateTest, IsForgottenByAStopWithoutACall)
{
    Presence::Report(Presence::Change::kFound);
    PelaconSvcStop();
    EXPECT_EQ(PelaconGetServiceState(), kPelaconServiceNotFound);
    EXPECT_THAT(states, ElementsAre(kPelaconServiceAvailable));
}

TEST_F(ServiceStateTest, IsCalledWithoutTheSinksException)
{
    PelaconSetServiceSink(nullptr,
                          [](void*, PelaconServiceState) { throw std::runtime_error("x"); });
    Presence::Report(Presence::Change::kFound);
    EXPECT_EQ(PelaconGetServiceState(), kPelaconServiceAvailable);
}

TEST_F(ServiceStateTest, NamesTheServicesProgram)
{
    EXPECT_STREQ(PelaconGetServicePath(), Processes::kServicePath);
}

}  // namespace

}  // namespace pelacon::test
