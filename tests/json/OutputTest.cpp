#include <json/Output.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace pelacon::json::tests {
namespace {

TEST(JsonOutput, IsAnObjectWithoutFieldsAtFirst)
{
    EXPECT_EQ(Write(Output()), "{}");
}

TEST(JsonOutput, WritesValuesOfAllTypes)
{
    const Output output{
        {"bool", true},
        {"double", 0.25},
        {"largest", std::numeric_limits<std::uint64_t>::max()},
        {"lowest", std::numeric_limits<std::int64_t>::min()},
        {"text", "a \"b\""},
    };
    EXPECT_EQ(Write(output), R"({"bool":true,"double":0.25,"largest":18446744073709551615,)"
                             R"("lowest":-9223372036854775808,"text":"a \"b\""})");
}

TEST(JsonOutput, WritesFieldsInTheOrderOfTheirNames)
{
    Output output{{"b", 2}};
    output["a"] = 1;
    output["c"]["nested"] = std::string("x");
    output["b"] = 3;
    EXPECT_EQ(Write(output), R"({"a":1,"b":3,"c":{"nested":"x"}})");
}

TEST(JsonOutput, WritesLists)
{
    const Output::List objects{{{"client", 1}}, {{"client", 2}, {"pid", 7}}};
    const Output output{{"empty", Output::List()},
                        {"numbers", ListOf(std::vector<std::int32_t>{1, 6, 11})},
                        {"objects", objects}};
    EXPECT_EQ(Write(output),
              R"({"empty":[],"numbers":[1,6,11],"objects":[{"client":1},{"client":2,"pid":7}]})");
}

TEST(JsonOutput, ReplacesBytesThatAreNotUtf8)
{
    EXPECT_EQ(Write({{"name", "a\xffz"}}), "{\"name\":\"a\xef\xbf\xbdz\"}");
}

}  // namespace
}  // namespace pelacon::json::tests
