// The examples in C, each against a service with the built-in world.
#include <tests/support/ServiceProcess.h>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace pelacon::test {

namespace {

using ::testing::AllOf;
using ::testing::ContainsRegex;
using ::testing::HasSubstr;

std::string ExampleInC(const std::string& name)
{
    return PELACON_EXAMPLES "c_" + name + PELACON_EXAMPLES_SUFFIX;
}

class CExamples : public ::testing::Test {
  protected:
    /// The output of an example, which must succeed.
    static std::string Run(const std::string& name)
    {
        ChildProcess program(ExampleInC(name), {});
        EXPECT_EQ(program.Wait(), 0) << program.Output() << program.Errors();
        return program.Output();
    }

    ServiceProcess service;
};

TEST_F(CExamples, AdapterIsSwitchedOffAndOn)
{
    EXPECT_THAT(Run("adapter"), HasSubstr("020000000001 is \"Pelacon\""));
}

TEST_F(CExamples, ScanFindsTheSimulatedDevices)
{
    EXPECT_THAT(Run("scan"), AllOf(HasSubstr("C00000000001"), HasSubstr(" dBm  Thermometer")));
}

TEST_F(CExamples, AdvertisingEndsByItself)
{
    EXPECT_THAT(Run("advertise"), HasSubstr("advertising"));
}

TEST_F(CExamples, GattClientSwitchesTheLampOn)
{
    EXPECT_THAT(Run("gatt_client"), HasSubstr("the lamp is on"));
}

TEST_F(CExamples, GattServerIsALamp)
{
    ChildProcess lamp(ExampleInC("gatt_server"), {});
    ASSERT_TRUE(lamp.WaitForOutput("serving"));
    ChildProcess client(ExampleInC("gatt_client"), {"020000000001"});
    EXPECT_EQ(client.Wait(), 0) << client.Errors();
    EXPECT_EQ(lamp.Wait(), 0) << lamp.Errors();
    EXPECT_THAT(lamp.Output(), HasSubstr("F00000000001 switched the lamp on"));
}

TEST_F(CExamples, GroupIsJoined)
{
    EXPECT_THAT(Run("group"), HasSubstr("joined"));
}

TEST_F(CExamples, SoftApIsCreatedAndDestroyed)
{
    EXPECT_THAT(Run("soft_ap"), ContainsRegex("join \".+\" with \".+\", channel"));
}

TEST_F(CExamples, ServiceStateFollowsTheService)
{
    ChildProcess program(ExampleInC("service_state"), {});
    ASSERT_TRUE(program.WaitForOutput("the service is available"));
    // As its output does not say that its callback is registered, the service does.
    ASSERT_TRUE(Eventually([this] {
        return service.Command({{"command", "status"}})["counters"]["requests"].get<int>() > 0;
    }));
    service.Kill();
    ASSERT_TRUE(program.WaitForOutput("the service is lost"));
    service.Start();
    EXPECT_EQ(program.Wait(), 0) << program.Errors();
    EXPECT_THAT(program.Output(), HasSubstr("the service is restarted\n"));
}

TEST_F(CExamples, FailWithAMessageWithoutAService)
{
    service.End();
    for (const char* name :
         {"adapter", "advertise", "gatt_client", "gatt_server", "group", "scan", "soft_ap"}) {
        ChildProcess program(ExampleInC(name), {});
        EXPECT_EQ(program.Wait(), 1) << name;
        EXPECT_THAT(program.Errors(), HasSubstr("running")) << name;
    }
}

}  // namespace

}  // namespace pelacon::test
