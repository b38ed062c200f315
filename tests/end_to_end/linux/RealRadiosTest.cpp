// PelaconService with real radios, over a stand-in of bluetoothd on a message bus of the test's
// own.
#include <tests/service/linux/BluezFixture.h>
#include <tests/support/Eventually.h>
#include <tests/support/ServiceProcess.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <vector>

namespace pelacon::test {

namespace {

using testing::HasSubstr;

class RealRadios : public testing::Test, protected service::linux_radios::tests::BluezFixture {
  protected:
    void StartService(const std::string& radios = "bluetooth=linux")
    {
        service.emplace(std::nullopt, ServicePath(), std::vector<std::string>{"--radio", radios});
    }
    nlohmann::json Bluetooth() const
    {
        return service->Command({{"command", "status"}})["radios"]["bluetooth"];
    }
    bool IsOn() const
    {
        return nlohmann::json::parse(Pelaconctl({"bt", "status", "--json"}).output)["state"] ==
               "on";
    }

    std::optional<ServiceProcess> service;
};

TEST_F(RealRadios, AreKnownWhenTheServiceIsReady)
{
    StartBluez();
    StartService();
    EXPECT_TRUE(IsOn());
    const CommandResult status = Pelaconctl({"bt", "status"});
    EXPECT_THAT(status.output, HasSubstr("00:AA:01:00:00:00"));
    EXPECT_THAT(status.output, HasSubstr("desk"));
}

TEST_F(RealRadios, AreSwitchedAndRenamed)
{
    StartBluez();
    StartService();
    EXPECT_EQ(Pelaconctl({"bt", "off"}).exitCode, 0);
    EXPECT_FALSE(IsOn());
    EXPECT_EQ(Pelaconctl({"bt", "on"}).exitCode, 0);
    EXPECT_TRUE(IsOn());
    EXPECT_EQ(Pelaconctl({"bt", "name", "hall"}).exitCode, 0);
    EXPECT_THAT(Pelaconctl({"bt", "name"}).output, HasSubstr("hall"));
}

TEST_F(RealRadios, AreDescribedByTheStatus)
{
    StartBluez();
    StartService();
    const nlohmann::json described = Bluetooth();
    EXPECT_EQ(described["kind"], "linux");
    EXPECT_EQ(described["state"], "present");
    EXPECT_EQ(described["stack"], "BlueZ 5.66");
    EXPECT_EQ(described["adapter"], "hci0");
    const nlohmann::json radios = service->Command({{"command", "status"}})["radios"];
    EXPECT_EQ(radios["wifi"]["kind"], "simulated");
    const CommandResult status = Pelaconctl({"service", "status"});
    EXPECT_THAT(status.output, HasSubstr("linux: BlueZ 5.66, adapter hci0"));
}

TEST_F(RealRadios, AreBothOfTheMachineWithOneWord)
{
    // Of the machine that runs this test, whether it has a card or not.
    StartBluez();
    StartService("linux");
    const nlohmann::json radios = service->Command({{"command", "status"}})["radios"];
    EXPECT_EQ(radios["bluetooth"]["kind"], "linux");
    EXPECT_EQ(radios["wifi"]["kind"], "linux");
    const bool hasCard = radios["wifi"]["state"] == "present";
    EXPECT_THAT(Pelaconctl({"service", "status"}).output,
                HasSubstr(hasCard ? "groups: not supported" : "missing: the card"));
    EXPECT_EQ(Pelaconctl({"wifi", "status"}).exitCode, 0);
    EXPECT_NE(Pelaconctl({"service", "stack", "set", "switchWifi"}).exitCode, 0);
    EXPECT_NE(Pelaconctl({"group", "create"}).exitCode, 0);
    service->Command({{"command", "restart"}});
    EXPECT_TRUE(IsOn());
}

TEST_F(RealRadios, MayBeAbsentAndComeLater)
{
    StartService();
    EXPECT_FALSE(IsOn());
    EXPECT_EQ(Bluetooth()["state"], "no bluetoothd on the bus");
    EXPECT_THAT(Bluetooth()["missing"][0], HasSubstr("start bluetooth.service"));
    EXPECT_NE(Pelaconctl({"bt", "on"}).exitCode, 0);
    StartBluez();
    EXPECT_TRUE(Eventually([this] { return IsOn(); }));
    bluetoothd->Kill();
    EXPECT_TRUE(Eventually([this] { return !IsOn(); }));
}

TEST_F(RealRadios, AreThereAfterARestart)
{
    StartBluez();
    StartService();
    service->Command({{"command", "restart"}});
    EXPECT_TRUE(IsOn());
    EXPECT_EQ(Pelaconctl({"bt", "off"}).exitCode, 0);
    EXPECT_FALSE(IsOn());
}

TEST_F(RealRadios, HaveNoSimulatedStack)
{
    StartBluez();
    StartService();
    EXPECT_NE(Pelaconctl({"service", "stack", "set", "scan"}).exitCode, 0);
    EXPECT_EQ(Pelaconctl({"wifi", "status"}).exitCode, 0);
}

TEST(TheRadioOption, IsRefusedIfItIsWrong)
{
    for (const auto& [option, reason] :
         {std::pair{"windows", "not a kind of radio"},
          std::pair{"wifi=linux:", "not the name of an adapter"},
          std::pair{"bluetooth=linux:", "not the name of an adapter"}}) {
        ChildProcess process(ServicePath(), {"--radio", option, "--check"});
        EXPECT_EQ(process.Wait(), 2);
        EXPECT_THAT(process.Errors(), HasSubstr(reason));
    }
}

}  // namespace

}  // namespace pelacon::test
