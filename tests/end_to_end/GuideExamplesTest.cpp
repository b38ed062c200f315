// The programs that the guide shows, each against a service with the built-in world.
#include <tests/support/ServiceProcess.h>

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace pelacon::test {

namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;

std::string Program(const std::string& name)
{
    return PELACON_EXAMPLES + name + PELACON_EXAMPLES_SUFFIX;
}

class GuideExamples : public ::testing::Test {
  protected:
    /// The output of a program, which must succeed.
    static std::string Run(const std::string& name)
    {
        ChildProcess program(Program(name), {});
        EXPECT_EQ(program.Wait(), 0) << program.Output() << program.Errors();
        return program.Output();
    }

    ServiceProcess service;
};

TEST_F(GuideExamples, Quickstart)
{
    EXPECT_THAT(Run("quickstart"), AllOf(HasSubstr("Pelacon is on"), HasSubstr("adapter state 0")));
}

TEST_F(GuideExamples, Adapter)
{
    EXPECT_THAT(Run("guide_adapter"),
                AllOf(HasSubstr("Pelacon is on"), HasSubstr("switched off and on again")));
}

TEST_F(GuideExamples, Scan)
{
    EXPECT_THAT(Run("guide_scan"), AllOf(HasSubstr("C00000000001"), HasSubstr("Thermometer")));
}

TEST_F(GuideExamples, Advertise)
{
    EXPECT_THAT(Run("guide_advertise"), HasSubstr("the time is over"));
}

TEST_F(GuideExamples, Targets)
{
    EXPECT_THAT(Run("guide_targets"), HasSubstr("received \"hello\""));
}

TEST_F(GuideExamples, GattClient)
{
    EXPECT_THAT(Run("guide_gatt_client"), HasSubstr("the lamp is on"));
}

TEST_F(GuideExamples, GattServer)
{
    ChildProcess lamp(Program("guide_gatt_server"), {});
    ASSERT_TRUE(lamp.WaitForOutput("serving"));
    ChildProcess client(Program("c_gatt_client"), {"020000000001"});
    EXPECT_EQ(client.Wait(), 0) << client.Errors();
    EXPECT_EQ(lamp.Wait(), 0) << lamp.Errors();
    EXPECT_THAT(lamp.Output(), HasSubstr("a peer switched the lamp on"));
}

TEST_F(GuideExamples, Group)
{
    EXPECT_THAT(Run("guide_group"),
                AllOf(HasSubstr("join DIRECT-pe-Pelacon with"), HasSubstr("020000000b01 joined")));
}

TEST_F(GuideExamples, SoftAp)
{
    EXPECT_THAT(Run("guide_soft_ap"),
                AllOf(HasSubstr("join Pelacon-AP with"), HasSubstr("a device connected")));
}

TEST_F(GuideExamples, Wifi)
{
    EXPECT_THAT(Run("guide_wifi"), AllOf(HasSubstr("switched off and on again"),
                                         HasSubstr("error: go already exist")));
}

TEST_F(GuideExamples, Log)
{
    EXPECT_THAT(Run("guide_log"), HasSubstr("level 3: "));
}

TEST_F(GuideExamples, WithoutAServiceTheySayThatThereIsNoAnswer)
{
    service.End();
    for (const char* name : {"adapter", "advertise", "gatt_client", "gatt_server", "group", "scan",
                             "targets", "wifi"}) {
        ChildProcess program(Program(std::string("guide_") + name), {});
        EXPECT_EQ(program.Wait(), 1) << name;
        EXPECT_THAT(program.Errors(), HasSubstr("the service did not answer")) << name;
    }
    ChildProcess softAp(Program("guide_soft_ap"), {});
    EXPECT_EQ(softAp.Wait(), 1);
    EXPECT_THAT(softAp.Errors(), HasSubstr("Soft AP: no answer"));
}

}  // namespace

}  // namespace pelacon::test
