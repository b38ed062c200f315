// The checks of the values of options.
#include <tools/pelaconctl/OptionValues.h>

#include <gtest/gtest.h>

#include <string>

namespace pelacon::ctl {

namespace {

/// The error for the value; "" when it is valid.
std::string ErrorFor(const CLI::Validator& validator, std::string text)
{
    return validator(text);
}

TEST(OptionValues, NotNegativeAcceptsNumbersFromZero)
{
    for (const char* number : {"0", "2", "0.25", "1e3"}) {
        EXPECT_EQ(ErrorFor(NotNegative(), number), "") << number;
    }
    for (const std::string text : {"-1", "nan", "inf", "1e999", "", "two", "2s"}) {
        EXPECT_EQ(ErrorFor(NotNegative(), text),
                  "must be a number, 0 or more, not \"" + text + "\"");
    }
}

TEST(OptionValues, AboveZeroAcceptsNumbersAboveZero)
{
    EXPECT_EQ(ErrorFor(AboveZero(), "0.001"), "");
    for (const std::string text : {"0", "-0.0", "-1", "nan", "inf", "x"}) {
        EXPECT_EQ(ErrorFor(AboveZero(), text), "must be a number above 0, not \"" + text + "\"");
    }
}

enum class Pace { kSlow = 4, kQuick = 9 };

TEST(OptionValues, OneOfAcceptsItsWordsOnly)
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
            EXPECT_EQ(std::string(error.what()),
                      "--pace: must be one of slow, quick, not \"" + text + "\"");
        }
    }
}

}  // namespace

}  // namespace pelacon::ctl
