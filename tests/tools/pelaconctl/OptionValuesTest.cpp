// What the values of options may be.
#include <tools/pelaconctl/OptionValues.h>

#include <gtest/gtest.h>

#include <string>

namespace pelacon::ctl {

namespace {

/// What is said against the value; nothing when it is taken.
std::string Against(const CLI::Validator& validator, std::string text)
{
    return validator(text);
}

TEST(OptionValues, NumbersFromZeroOn)
{
    for (const char* number : {"0", "2", "0.25", "1e3"}) {
        EXPECT_EQ(Against(NotNegative(), number), "") << number;
    }
    for (const std::string text : {"-1", "nan", "inf", "1e999", "", "two", "2s"}) {
        EXPECT_EQ(Against(NotNegative(), text), "\"" + text + "\" is no number from 0 on");
    }
}

TEST(OptionValues, NumbersAboveZero)
{
    EXPECT_EQ(Against(AboveZero(), "0.001"), "");
    for (const std::string text : {"0", "-0.0", "-1", "nan", "inf", "x"}) {
        EXPECT_EQ(Against(AboveZero(), text), "\"" + text + "\" is no number above 0");
    }
}

enum class Pace { kSlow = 4, kQuick = 9 };

TEST(OptionValues, WordsAndNothingElse)
{
    CLI::App program;
    Pace pace = Pace::kSlow;
    program.add_option("--pace", pace)
        ->transform(OneOf<Pace>({{"slow", Pace::kSlow}, {"quick", Pace::kQuick}}));
    program.parse("--pace quick");
    EXPECT_EQ(pace, Pace::kQuick);
    for (const std::string text : {"Quick", "9", "4", "qui"}) {
        try {
            program.parse("--pace " + text);
            ADD_FAILURE() << text;
        } catch (const CLI::ValidationError& error) {
            EXPECT_EQ(std::string(error.what()), "--pace: \"" + text + "\" is none of slow, quick");
        }
    }
}

}  // namespace

}  // namespace pelacon::ctl
