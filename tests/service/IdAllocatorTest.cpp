#include <service/core/IdAllocator.h>
#include <tests/support/TemporaryFolder.h>

#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <string>

namespace pelacon::service::tests {
namespace {

class IdAllocatorTest : public testing::Test {
  protected:
    std::string File() const { return folder_.File("ids"); }
    void Write(const std::string& text) const { std::ofstream(File(), std::ios::binary) << text; }

    test::TemporaryFolder folder_;
};

TEST_F(IdAllocatorTest, IdsArePositiveAndUnique)
{
    IdAllocator ids(File());
    std::set<std::int32_t> given;
    for (int i = 0; i < 3 * IdAllocator::kBlock; ++i) {
        const std::int32_t id = ids.Next();
        EXPECT_GT(id, 0);
        EXPECT_TRUE(given.insert(id).second);
    }
}

TEST_F(IdAllocatorTest, ALaterServiceContinuesAfterTheEarlierOne)
{
    std::set<std::int32_t> given;
    for (int service = 0; service < 3; ++service) {
        IdAllocator ids(File());
        for (int i = 0; i < IdAllocator::kBlock + 10; ++i) {
            EXPECT_TRUE(given.insert(ids.Next()).second);
        }
    }
}

TEST_F(IdAllocatorTest, AServiceThatGaveNoIdsKeepsThemUnique)
{
    const std::int32_t before = IdAllocator(File()).Next();
    {
        const IdAllocator unused(File());
    }
    EXPECT_GT(IdAllocator(File()).Next(), before);
}

TEST_F(IdAllocatorTest, AnotherFileIsRefusedByName)
{
    for (const char* text :
         {"", "hello", "pelacon-next-id ", "pelacon-next-id 12", "pelacon-next-id -4\n",
          "pelacon-next-id 12x\n", "pelacon-next-id 99999999999\n"}) {
        Write(text);
        try {
            IdAllocator ids(File());
            FAIL() << "took " << text;
        } catch (const IdError& error) {
            EXPECT_NE(std::string(error.what()).find(File()), std::string::npos) << error.what();
        }
    }
}

TEST_F(IdAllocatorTest, AMissingFolderIsAnError)
{
    EXPECT_THROW(IdAllocator(folder_.File("nowhere/ids")), IdError);
}

TEST_F(IdAllocatorTest, RunningOutOfIdsIsAnError)
{
    Write("pelacon-next-id 2147483000\n");
    EXPECT_THROW(IdAllocator{File()}, IdError);
}

}  // namespace
}  // namespace pelacon::service::tests
