#include <sdk/api/CEntry.h>
#include <tests/support/SdkTest.h>

#include <stdexcept>

namespace pelacon::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct Members {
    static int Sum(int left, int right) { return left + right; }
    static int Throw() { throw std::runtime_error("no memory"); }
};

int EntryOfSum(int left, int right)
{
    return CEntry<&Members::Sum>(-1, left, right);
}

int EntryOfThrow()
{
    return CEntry<&Members::Throw>(-1);
}

int EntryThatThrowsANumber()
{
    return CEntry(-2, []() -> int { throw 5; });
}

TEST_F(StoppedSdkTest, CEntryReturnsTheMembersResult)
{
    EXPECT_EQ(EntryOfSum(3, 4), 7);
    EXPECT_THAT(LogLines::All(), IsEmpty());
}

TEST_F(StoppedSdkTest, NoExceptionLeavesACEntryAndItsNameIsLogged)
{
    EXPECT_EQ(EntryOfThrow(), -1);
    EXPECT_EQ(EntryThatThrowsANumber(), -2);
    EXPECT_THAT(LogLines::All(), ElementsAre(Line(4, "exception: no memory", "EntryOfThrow"),
                                             Line(4, "exception", "EntryThatThrowsANumber")));
}

}  // namespace

}  // namespace pelacon::test
