#include <voevent/VoEvent.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

/// The pairs are private to the event library's helpers; this stands for one of them.
struct VoViewAccess {
    template <typename Value>
    static void Pairs(Payload& payload, std::string& key, Value value, int flag)
    {
        VoView::VariadicKVPairs(payload, key, value, flag);
    }
};

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

template <typename Value>
class VariadicKVPairsTest : public ::testing::Test {};

using Values = ::testing::Types<std::string, const char*>;
TYPED_TEST_SUITE(VariadicKVPairsTest, Values);

TYPED_TEST(VariadicKVPairsTest, InsertsThePairWithBitZero)
{
    for (const int flag : {1, 3, -1}) {
        Payload payload;
        std::string key = "colour";
        VoViewAccess::Pairs<TypeParam>(payload, key, "blue", flag);
        EXPECT_THAT(payload.Pairs(), ElementsAre(Pair("colour", "blue")));
        EXPECT_EQ(key, "colour");
    }
}

TYPED_TEST(VariadicKVPairsTest, TakesTheValueAsKeyWithoutBitZero)
{
    for (const int flag : {0, 2, -2}) {
        Payload payload;
        std::string key = "colour";
        VoViewAccess::Pairs<TypeParam>(payload, key, "blue", flag);
        EXPECT_THAT(payload.Pairs(), IsEmpty());
        EXPECT_EQ(key, "blue");
    }
}

}  // namespace
