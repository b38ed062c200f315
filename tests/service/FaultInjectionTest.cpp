// The effect of faults on clients, over a real pipe.
#include <protocol/BleManager.h>
#include <protocol/GattClient.h>
#include <protocol/ServiceLink.h>
#include <tests/service/ServiceFixture.h>

#include <chrono>
#include <future>
#include <string>
#include <thread>

namespace pelacon::service::tests {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

class FaultInjectionTest : public ServiceTest {
  protected:
    void AddFault(const std::string& fault)
    {
        Command({{"command", "fault.add"}, {"fault", nlohmann::json::parse(fault)}});
    }
};

TEST_F(FaultInjectionTest, ADelayedRequestIsServedLater)
{
    StartService(R"({"faults": [{"request": "GetBtName", "do": "delay", "ms": 60, "times": 1}]})");
    TestClient client(PipeName());
    const auto begin = Clock::now();
    EXPECT_TRUE(client.Call(protocol::kGetBtName));
    EXPECT_GE(Clock::now() - begin, 60ms);
    EXPECT_TRUE(client.Call(protocol::kGetBtName));
}

TEST_F(FaultInjectionTest, ADelayAffectsItsRequestOnly)
{
    StartService(R"({"faults": [{"request": "GetBtName", "do": "delay", "ms": 60000}]})");
    TestClient client(PipeName());
    std::thread slow([&] { EXPECT_FALSE(client.Call(protocol::kGetBtName)); });
    TestClient other(PipeName());
    EXPECT_TRUE(client.Call(protocol::kIsBtEnabled));
    EXPECT_TRUE(other.Call(protocol::kIsBtEnabled));
    EndService();
    slow.join();
}

TEST_F(FaultInjectionTest, ARequestMayNeverBeAnswered)
{
    StartService(R"({"faults": [{"request": "BtDisable", "do": "never", "times": 1}]})");
    TestClient client(PipeName());
    const auto begin = Clock::now();
    EXPECT_FALSE(client.Call(protocol::kBtDisable, 50ms));
    EXPECT_GE(Clock::now() - begin, 50ms);
    EXPECT_EQ(client.Call(protocol::kIsBtEnabled)->value, 1) << "it was not performed";
}

TEST_F(FaultInjectionTest, ARequestMayBePerformedAndNotAnswered)
{
    StartService(R"({"adapter": {"turnOffMs": 0}, "faults": [
        {"request": "SetBtName", "do": "empty", "perform": true}]})");
    TestClient client(PipeName());
    EXPECT_FALSE(client.Call(protocol::kSetBtName, "Done"));
    EXPECT_EQ(TextIn(client.Call(protocol::kGetBtName)->name), "Done");
}

TEST_F(FaultInjectionTest, ARequestMayBeAnsweredWithNothingAtOnce)
{
    StartService();
    TestClient client(PipeName());
    AddFault(R"({"request": "0xD7005E", "do": "empty", "times": 1})");
    const auto begin = Clock::now();
    EXPECT_FALSE(client.Call(protocol::kIsBtEnabled));
    EXPECT_LT(Clock::now() - begin, kPatience / 2);
    EXPECT_TRUE(client.Call(protocol::kIsBtEnabled));
}

TEST_F(FaultInjectionTest, ARequestMayBeRefusedWithAnyStatus)
{
    StartService();
    TestClient client(PipeName());
    AddFault(R"({"request": "GetBtMacAndName", "do": "status", "status": -77})");
    const auto reply = client.Call(protocol::kGetBtMacAndName);
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, -77);
    EXPECT_EQ(reply->mac, 0U);
    Command({{"command", "fault.clear"}});
    EXPECT_EQ(client.Call(protocol::kGetBtMacAndName)->status, 0);
}

TEST_F(FaultInjectionTest, AConnectionMayBeDroppedInsteadOfAnAnswer)
{
    StartService();
    TestClient client(PipeName());
    for (const char* kind : {"disconnect", "malformed"}) {
        AddFault(std::string(R"({"request": "GetBtName", "times": 1, "do": ")") + kind + "\"}");
        const auto begin = Clock::now();
        EXPECT_FALSE(client.Call(protocol::kGetBtName)) << kind;
        EXPECT_LT(Clock::now() - begin, kPatience / 2) << "its end is noticed at once";
        EXPECT_TRUE(client.Call(protocol::kGetBtName)) << kind;
    }
}

TEST_F(FaultInjectionTest, AFaultOnAPostedMessageClosesItsConnection)
{
    StartService();
    TestClient client(PipeName());
    EXPECT_TRUE(client.Call(protocol::kIsBtEnabled));
    for (const char* kind : {"disconnect", "malformed"}) {
        AddFault(std::string(R"({"request": "BleGattClientConnect", "times": 1, "do": ")") + kind +
                 "\"}");
        EXPECT_TRUE(client.Post(protocol::kGattClientConnect, {}));
        client.Next(protocol::kServiceStarted);  // sent to a client that returns
    }
    EXPECT_TRUE(client.Call(protocol::kIsBtEnabled));
}

TEST_F(FaultInjectionTest, AFaultMayMatchAnyRequest)
{
    StartService();
    TestClient client(PipeName());
    AddFault(R"({"request": "any", "do": "empty", "times": 2})");
    EXPECT_FALSE(client.Call(protocol::kGetBtName));
    EXPECT_FALSE(client.Call(protocol::kIsBtEnabled));
    EXPECT_TRUE(client.Call(protocol::kIsBtEnabled));
}

TEST_F(FaultInjectionTest, ASeedRepeatsARun)
{
    const auto run = [&](std::uint64_t seed) {
        StartService(R"({"faults": [{"request": "any", "do": "empty", "probability": 0.3}]})",
                     seed);
        std::string pattern;
        {
            TestClient client(PipeName());
            for (int i = 0; i < 40; ++i) {
                pattern += client.Call(protocol::kIsBtEnabled) ? '.' : 'x';
            }
        }
        EndService();
        return pattern;
    };
    const std::string first = run(5);
    EXPECT_EQ(run(5), first);
    EXPECT_NE(run(6), first);
}

TEST_F(FaultInjectionTest, EndingTheServiceEndsItsDelays)
{
    StartService(R"({"faults": [{"request": "any", "do": "delay", "ms": 3600000}]})");
    TestClient client(PipeName());
    std::thread one([&] { EXPECT_FALSE(client.Call(protocol::kGetBtName)); });
    std::thread other([&] { EXPECT_FALSE(client.Call(protocol::kIsBtEnabled)); });
    EXPECT_TRUE(Eventually([&] {
        return Command({{"command", "status"}})["counters"]["requests"] == 2;
    }));
    const auto begin = Clock::now();
    EndService();
    one.join();
    other.join();
    EXPECT_LT(Clock::now() - begin, kPatience / 2);
}

TEST_F(FaultInjectionTest, AClientThatLeavesEndsItsDelays)
{
    StartService(R"({"faults": [{"request": "GetBtName", "do": "delay", "ms": 3600000}]})");
    {
        TestClient client(PipeName());
        EXPECT_FALSE(client.Call(protocol::kGetBtName, 30ms));
    }
    // The service's end waits for running handlers; the delayed one has ended before.
    EXPECT_TRUE(Eventually([&] {
        return Command({{"command", "status"}})["counters"]["callConnections"] == 0;
    }));
}

TEST_F(FaultInjectionTest, ADelayedPostDoesNotOutliveItsClient)
{
    StartService(
        R"({"faults": [{"request": "BleGattClientConnect", "do": "delay", "ms": 3600000}]})");
    {
        TestClient client(PipeName());
        EXPECT_TRUE(client.Post(protocol::kGattClientConnect, {}));
        EXPECT_TRUE(Eventually([&] {
            return Command({{"command", "status"}})["counters"]["requests"] == 1;
        }));
    }
    EXPECT_TRUE(Eventually([&] { return Command({{"command", "status"}})["clients"].empty(); }));
}

TEST_F(FaultInjectionTest, AFloodDelaysNoOtherClient)
{
    StartService();
    TestClient flooded(PipeName());
    EXPECT_TRUE(flooded.Call(protocol::kIsBtEnabled));
    TestClient other(PipeName());
    EXPECT_TRUE(other.Call(protocol::kIsBtEnabled));
    flooded.Pause(true);  // so that the flood has to be dropped
    std::future<nlohmann::json> flood = std::async(std::launch::async, [&] {
        return Command({{"command", "flood"},
                        {"id", "BtStateChanged"},
                        {"client", 1},
                        {"count", 1'000'000},
                        {"droppable", true}});
    });
    EXPECT_TRUE(Eventually([&] {
        return Command({{"command", "status"}})["counters"]["notificationsDropped"] > 0;
    }));
    EXPECT_TRUE(other.Call(protocol::kIsBtEnabled));
    EXPECT_EQ(flood.wait_for(100ms), std::future_status::timeout)
        << "the flood ended before the other request";
    EXPECT_EQ(flood.get()["sent"], 1'000'000);
}

TEST_F(FaultInjectionTest, ARestartDropsClientsForgetsTheirStateAndGreetsThem)
{
    StartService(R"({"adapter": {"name": "Before", "turnOffMs": 0}})");
    TestClient client(PipeName());
    EXPECT_EQ(client.Call(protocol::kSetBtName, "Changed")->status, 0);
    Command({{"command", "restart"}});
    client.Next(protocol::kServiceStarted);
    EXPECT_EQ(TextIn(client.Call(protocol::kGetBtName)->name), "Before");
    EXPECT_EQ(client.Call(protocol::kRepairResource, {})->status, 0);
    EXPECT_EQ(Command({{"command", "status"}})["counters"]["restarts"], 1);
}

TEST_F(FaultInjectionTest, ARestartEndsWaitingRequests)
{
    StartService(R"({"faults": [{"request": "GetBtName", "do": "delay", "ms": 3600000}]})");
    TestClient client(PipeName());
    std::thread slow([&] { EXPECT_FALSE(client.Call(protocol::kGetBtName)); });
    EXPECT_TRUE(Eventually([&] {
        return Command({{"command", "status"}})["counters"]["requests"] == 1;
    }));
    const auto begin = Clock::now();
    Command({{"command", "restart"}});
    slow.join();
    EXPECT_LT(Clock::now() - begin, kPatience / 2);
    EXPECT_TRUE(client.Call(protocol::kIsBtEnabled));
}

TEST_F(FaultInjectionTest, AReturningClientReceivesAdapterChanges)
{
    StartService();
    TestClient client(PipeName());
    client.Call(protocol::kRegisterBtStateChange);
    Command({{"command", "restart"}});
    client.Next(protocol::kServiceStarted);
    client.Call(protocol::kBtDisable);
    EXPECT_EQ(client.Next(protocol::kBtStateChanged).value, 3);
}

TEST_F(FaultInjectionTest, ANewServiceGreetsTheClientsOfTheOldOne)
{
    StartService();
    TestClient client(PipeName());
    EXPECT_TRUE(client.Call(protocol::kIsBtEnabled));
    EndService();
    EXPECT_FALSE(client.Call(protocol::kIsBtEnabled));
    StartService();
    client.Next(protocol::kServiceStarted);
    EXPECT_TRUE(client.Call(protocol::kIsBtEnabled));
    EXPECT_EQ(client.Waiting(protocol::kServiceStarted.id), 0U);
}

TEST_F(FaultInjectionTest, AFreshClientIsNotGreeted)
{
    StartService();
    TestClient client(PipeName());
    EXPECT_TRUE(client.Call(protocol::kIsBtEnabled));
    Command({{"command", "notify"}, {"id", "BtStateChanged"}, {"payload", "05000000"}});
    EXPECT_EQ(client.Next(protocol::kBtStateChanged).value, 5)
        << "a later notification has arrived";
    EXPECT_EQ(client.Waiting(protocol::kServiceStarted.id), 0U);
}

}  // namespace
}  // namespace pelacon::service::tests
