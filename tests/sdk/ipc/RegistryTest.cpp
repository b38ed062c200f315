#include <sdk/ipc/Registry.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace pelacon::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

/// What a walk through a registry meets.
template <typename Registry>
auto Walk(const Registry& registry)
{
    return std::vector(registry.begin(), registry.end());
}

TEST(KeyedRegistryTest, KeepsTheFirstTableOfAnId)
{
    KeyedRegistry<int, std::string> registry;
    EXPECT_TRUE(registry.Add(7, "first"));
    EXPECT_FALSE(registry.Add(7, "second"));
    ASSERT_NE(registry.Find(7), nullptr);
    EXPECT_EQ(*registry.Find(7), "first");
}

TEST(KeyedRegistryTest, IsWalkedInAscendingOrder)
{
    KeyedRegistry<int, std::string> registry;
    EXPECT_TRUE(registry.Empty());
    registry.Add(3, "c");
    registry.Add(-1, "a");
    registry.Add(2, "b");
    EXPECT_THAT(Walk(registry), ElementsAre(Pair(-1, "a"), Pair(2, "b"), Pair(3, "c")));
    EXPECT_FALSE(registry.Empty());
}

TEST(KeyedRegistryTest, RemovesOneId)
{
    KeyedRegistry<int, std::string> registry;
    registry.Add(1, "a");
    registry.Add(2, "b");
    EXPECT_TRUE(registry.Remove(1));
    EXPECT_FALSE(registry.Remove(1));
    EXPECT_EQ(registry.Find(1), nullptr);
    EXPECT_THAT(Walk(registry), ElementsAre(Pair(2, "b")));
    EXPECT_TRUE(registry.Add(1, "again"));
}

TEST(OrderedListTest, KeepsTheOrderOfAdding)
{
    int objects[3] = {};
    OrderedList<int*> list;
    list.Append(&objects[2]);
    list.Append(&objects[0]);
    list.Append(&objects[1]);
    EXPECT_THAT(Walk(list), ElementsAre(&objects[2], &objects[0], &objects[1]));
    EXPECT_EQ(list.Size(), 3U);
    EXPECT_TRUE(list.Contains(&objects[1]));
}

TEST(OrderedListTest, AddOnceKeepsOne)
{
    int object = 0;
    OrderedList<int*> list;
    EXPECT_TRUE(list.AddOnce(&object));
    EXPECT_FALSE(list.AddOnce(&object));
    EXPECT_THAT(Walk(list), ElementsAre(&object));
}

TEST(OrderedListTest, RemovesEveryEntryOfAPointer)
{
    int object = 0;
    int other = 0;
    OrderedList<int*> list;
    list.Append(&object);
    list.Append(&other);
    list.Append(&object);
    EXPECT_TRUE(list.Remove(&object));
    EXPECT_FALSE(list.Remove(&object));
    EXPECT_FALSE(list.Contains(&object));
    EXPECT_THAT(Walk(list), ElementsAre(&other));
    list.Remove(&other);
    EXPECT_THAT(Walk(list), IsEmpty());
    EXPECT_TRUE(list.Empty());
}

TEST(OrderedListTest, MayBeChangedWhileItIsWalked)
{
    OrderedList<int> list;
    for (const int value : {1, 2, 3, 4}) {
        list.Append(value);
    }
    std::vector<int> visited;
    list.ForEach([&](int value) {
        visited.push_back(value);
        list.Append(value + 10);
        list.Remove(value);
        list.Remove(3);
    });
    EXPECT_THAT(visited, ElementsAre(1, 2, 4));
    EXPECT_THAT(Walk(list), ElementsAre(11, 12, 14));
}

}  // namespace

}  // namespace pelacon::test
