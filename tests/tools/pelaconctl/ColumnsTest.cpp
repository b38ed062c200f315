// How many columns a text takes, and texts that are fitted into columns.
#include <tools/pelaconctl/Columns.h>
#include <tools/pelaconctl/Text.h>

#include <gtest/gtest.h>

namespace pelacon::ctl {

namespace {

TEST(Columns, CountAsTerminalsDo)
{
    EXPECT_EQ(ColumnsOf(std::string_view()), 0U);
    EXPECT_EQ(ColumnsOf("Thermometer"), 11U);
    EXPECT_EQ(ColumnsOf("Büro"), 4U);
    EXPECT_EQ(ColumnsOf("温度計"), 6U);
    EXPECT_EQ(ColumnsOf("ｶﾞ"), 2U) << "half-width";
    EXPECT_EQ(ColumnsOf("한국어"), 6U);
    EXPECT_EQ(ColumnsOf("e\u0301"), 1U) << "a combining accent";
    EXPECT_EQ(ColumnsOf("\u1112\u1161\u11AB"), 2U) << "a syllable of three parts";
    EXPECT_EQ(ColumnsOf("🔋"), 2U);
    EXPECT_EQ(ColumnsOf("\u200B"), 0U);
    EXPECT_EQ(ColumnsOf("∞"), 1U);
}

TEST(Columns, AreFilledExactly)
{
    EXPECT_EQ(Fit("温度計", 8), "温度計  ");
    EXPECT_EQ(Fit("温度計", 6), "温度計");
    EXPECT_EQ(Fit("温度計", 5), "温 ..") << "half a character would be left";
    EXPECT_EQ(Fit("温度計", 4), "温..");
    EXPECT_EQ(Fit("温度計", 1), ".");
    EXPECT_EQ(Fit("e\u0301e\u0301e\u0301", 3), "e\u0301e\u0301e\u0301");
    EXPECT_EQ(Fit("Thermometer", 6), "Ther..");
}

}  // namespace

}  // namespace pelacon::ctl
