#include <service/selection/RadioChoice.h>

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace pelacon::service {

namespace {

using One = RadioChoice::One;

std::string WhatIsWrongWith(const char* text)
{
    try {
        ReadRadioChoice(text);
        return "";
    } catch (const std::invalid_argument& wrong) {
        return wrong.what();
    }
}

TEST(ARadioChoice, IsOneWordForAll)
{
    EXPECT_EQ(ReadRadioChoice("simulated"), RadioChoice());
    EXPECT_EQ(ReadRadioChoice("linux"), (RadioChoice{One{true, ""}, One{true, ""}}));
}

TEST(ARadioChoice, IsAListOfRadios)
{
    EXPECT_EQ(ReadRadioChoice("bluetooth=linux"), (RadioChoice{One{true, ""}, One{}}));
    EXPECT_EQ(ReadRadioChoice("bluetooth=linux:hci1,wifi=simulated"),
              (RadioChoice{One{true, "hci1"}, One{}}));
    EXPECT_EQ(ReadRadioChoice("wifi=linux:wlan0,bluetooth=simulated"),
              (RadioChoice{One{}, One{true, "wlan0"}}));
    EXPECT_EQ(ReadRadioChoice("wifi=linux:wlP1p1s0"), (RadioChoice{One{}, One{true, "wlP1p1s0"}}));
}

TEST(ARadioChoice, ReportsWhatIsWrong)
{
    EXPECT_EQ(WhatIsWrongWith("windows"), "'windows' is not a kind of radio: simulated or linux");
    EXPECT_EQ(WhatIsWrongWith(""), "'' is not a kind of radio: simulated or linux");
    EXPECT_EQ(WhatIsWrongWith("linux:hci1"),
              "an adapter belongs to one radio, such as bluetooth=linux:hci1");
    EXPECT_EQ(WhatIsWrongWith("nfc=linux"), "'nfc' is not a radio: bluetooth or wifi");
    EXPECT_EQ(WhatIsWrongWith("bluetooth=linux,,"), "'' is not a radio: bluetooth or wifi");
    EXPECT_EQ(WhatIsWrongWith("bluetooth=linux,bluetooth=linux"), "bluetooth is given twice");
    EXPECT_EQ(WhatIsWrongWith("bluetooth="), "'' is not a kind of radio: simulated or linux");
    EXPECT_EQ(WhatIsWrongWith("bluetooth=linux:"),
              "'' is not the name of an adapter, such as hci0 or wlan0");
    EXPECT_EQ(WhatIsWrongWith("bluetooth=linux:../hci0"),
              "'../hci0' is not the name of an adapter, such as hci0 or wlan0");
    EXPECT_EQ(WhatIsWrongWith("wifi=linux:a-very-long-name"),
              "'a-very-long-name' is not the name of an adapter, such as hci0 or wlan0");
    EXPECT_EQ(WhatIsWrongWith("wifi=simulated:wlan0"),
              "a simulated radio has no adapter to choose");
}

}  // namespace

}  // namespace pelacon::service
