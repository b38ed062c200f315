#include <sdk/api/CEntry.h>
#include <tests/support/SdkTest.h>

#include <stdexcept>

namespace pelacon::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST_F(StoppedSdkTest, CEntryReturnsTheMembersResult)
{
    EXPECT_EQ(CEntry("Some", -1, [] { return 7; }), 7);
    EXPECT_THAT(LogLines::All(), IsEmpty());
}

TEST_F(StoppedSdkTest, CEntryLetsNoExceptionOut)
{
    EXPECT_EQ(CEntry("Some", -1, []() -> int { throw std::runtime_error("no memory"); }), -1);
    EXPECT_EQ(CEntry("Other", -2, []() -> int { throw 5; }), -2);
    EXPECT_THAT(LogLines::All(), ElementsAre(Line(4, "exception: no memory", "Some"),
                                             Line(4, "exception", "Other")));
}

}  // namespace

}  // namespace pelacon::test
