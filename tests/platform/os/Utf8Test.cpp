#include <os/Utf8.h>

#include <gtest/gtest.h>

#include <string>

namespace {

using pelacon::os::Utf8;

TEST(Utf8Test, EncodesEveryLength)
{
    EXPECT_EQ(Utf8(L""), "");
    EXPECT_EQ(Utf8(L"plain"), "plain");
    EXPECT_EQ(Utf8(std::wstring(1, L'\0')), std::string(1, '\0'));
    EXPECT_EQ(Utf8(L"\x7F"), "\x7F");
    EXPECT_EQ(Utf8(L"\x80"), "\xC2\x80");
    EXPECT_EQ(Utf8(L"\x7FF"), "\xDF\xBF");
    EXPECT_EQ(Utf8(L"\x800"), "\xE0\xA0\x80");
    EXPECT_EQ(Utf8(L"\xFFFF"), "\xEF\xBF\xBF");
    EXPECT_EQ(Utf8(L"\U00010000"), "\xF0\x90\x80\x80");
    EXPECT_EQ(Utf8(L"\U0010FFFF"), "\xF4\x8F\xBF\xBF");
    EXPECT_EQ(Utf8(L"a\u20ACb"),
              "a\xE2\x82\xAC"
              "b");
}

TEST(Utf8Test, JoinsSurrogatePairs)
{
    const std::wstring pair{wchar_t{0xD83D}, wchar_t{0xDE00}};
    EXPECT_EQ(Utf8(pair), "\xF0\x9F\x98\x80");
}

TEST(Utf8Test, ReplacesInvalidCharacters)
{
    const std::string replacement = "\xEF\xBF\xBD";
    EXPECT_EQ(Utf8(std::wstring{wchar_t{0xD83D}}), replacement);
    EXPECT_EQ(Utf8(std::wstring{wchar_t{0xDE00}}), replacement);
    EXPECT_EQ(Utf8(std::wstring{wchar_t{0xD83D}, L'a'}), replacement + "a");
    EXPECT_EQ(Utf8(std::wstring{wchar_t{0xDE00}, wchar_t{0xD83D}}), replacement + replacement);
    EXPECT_EQ(Utf8(std::wstring{wchar_t{0xD83D}, wchar_t{0xD83D}, wchar_t{0xDE00}}),
              replacement + "\xF0\x9F\x98\x80");
}

}  // namespace
