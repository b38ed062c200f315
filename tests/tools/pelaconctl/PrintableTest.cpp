// Text that came from elsewhere, made safe and made to fit.
#include <tools/pelaconctl/Text.h>

#include <gtest/gtest.h>

#include <string>

namespace pelacon::ctl {

namespace {

TEST(Printable, KeepsText)
{
    for (const std::string text : {"", "Front desk",
                                   "K\xC3\xBC"
                                   "che",
                                   "\xE6\xB8\xA9\xE5\xBA\xA6", "\xF0\x9F\x92\xA1"}) {
        EXPECT_EQ(Printable(text), text);
    }
}

TEST(Printable, ReplacesControlCharactersAndInvalidUtf8)
{
    EXPECT_EQ(Printable("a\033[2Jb\r\n\t\x7F"), "a?[2Jb????");
    EXPECT_EQ(Printable(std::string("a\0b", 3)), "a?b");
    EXPECT_EQ(Printable("\xC2\x9B"), "??") << "a control character of two bytes";
    EXPECT_EQ(Printable("\xC2\xA0"), "\xC2\xA0");
    EXPECT_EQ(Printable("\xFF\x80\xC3"), "???");
    EXPECT_EQ(Printable("\xC0\xAF"), "??") << "longer than need be";
    EXPECT_EQ(Printable("\xE0\x80\xAF"), "???");
    EXPECT_EQ(Printable("\xED\xA0\x80"), "???") << "half of a pair";
    EXPECT_EQ(Printable("\xF4\x90\x80\x80"), "????") << "beyond the last character";
    EXPECT_EQ(Printable("\xE6\xB8"), "??") << "cut short";
}

TEST(Fit, PadsAndCuts)
{
    EXPECT_EQ(Fit("abc", 5), "abc  ");
    EXPECT_EQ(Fit("abc", 3), "abc");
    EXPECT_EQ(Fit("abcdef", 5), "abc..");
    EXPECT_EQ(Fit("abcdef", 2), "..");
    EXPECT_EQ(Fit("abcdef", 1), ".");
    EXPECT_EQ(Fit("abcdef", 0), "");
    EXPECT_EQ(Fit("", 2), "  ");
}

TEST(Fit, CountsCharactersRatherThanBytes)
{
    const std::string umlauts = "\xC3\xA4\xC3\xB6\xC3\xBC";
    EXPECT_EQ(Fit(umlauts, 4), umlauts + " ");
    EXPECT_EQ(Fit(umlauts, 3), umlauts);
    EXPECT_EQ(Fit(umlauts + "abc", 4), "\xC3\xA4\xC3\xB6..");
}

}  // namespace

}  // namespace pelacon::ctl
