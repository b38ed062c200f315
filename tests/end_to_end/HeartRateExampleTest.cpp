// The two heart-rate examples, against one service.
#include <tests/support/ServiceProcess.h>

#include <gmock/gmock.h>

#include <string>

namespace pelacon::test {

namespace {

constexpr auto kSensor = PELACON_EXAMPLES "heart_rate_sensor" PELACON_EXAMPLES_SUFFIX;
constexpr auto kDisplay = PELACON_EXAMPLES "heart_rate_display" PELACON_EXAMPLES_SUFFIX;

class HeartRateExample : public ::testing::Test {
  protected:
    static ChildProcess::Options WithInput()
    {
        ChildProcess::Options options;
        options.input = true;
        return options;
    }

    ServiceProcess service{"{}"};
};

TEST_F(HeartRateExample, TheDisplayFindsTheSensor)
{
    ChildProcess sensor(kSensor, {}, WithInput());
    ASSERT_TRUE(sensor.WaitForOutput("serving\n"));
    ChildProcess display(kDisplay, {"3"});
    EXPECT_EQ(display.NextLine(), "sensor at body location 1");
    for (int i = 0; i < 3; ++i) {
        EXPECT_THAT(*display.NextLine(), ::testing::MatchesRegex("6. beats per minute, .* kJ"));
    }
    EXPECT_EQ(display.Wait(), 0);
    EXPECT_TRUE(sensor.WaitForOutput("peer f00000000001 connected\n"));
    EXPECT_TRUE(sensor.WaitForOutput("energy reset\n"));
    EXPECT_TRUE(sensor.WaitForOutput("peer f00000000001 left\n"));
    sensor.Write("q");
    EXPECT_EQ(sensor.Wait(), 0);
}

TEST_F(HeartRateExample, TheDisplayReconnectsToTheSensor)
{
    ChildProcess display(kDisplay, {});
    {
        ChildProcess sensor(kSensor, {}, WithInput());
        EXPECT_TRUE(display.WaitForOutput("beats per minute"));
        sensor.Kill();
    }
    EXPECT_TRUE(display.WaitForOutput("no sensor\n"));
    const std::string before = display.Output();
    ChildProcess sensor(kSensor, {}, WithInput());
    EXPECT_TRUE(Eventually([&] {
        return display.Output().find("beats per minute", before.size()) != std::string::npos;
    }));
}

TEST_F(HeartRateExample, WithoutAServiceBothFailWithAMessage)
{
    service.End();
    ChildProcess sensor(kSensor, {}, WithInput());
    EXPECT_EQ(sensor.Wait(), 1);
    EXPECT_THAT(sensor.Errors(), ::testing::HasSubstr("cannot register: -9"));
    ChildProcess display(kDisplay, {});
    EXPECT_EQ(display.Wait(), 1);
    EXPECT_THAT(display.Errors(), ::testing::HasSubstr("is PelaconService running?"));
}

}  // namespace

}  // namespace pelacon::test
