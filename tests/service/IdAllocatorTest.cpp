#include <service/IdAllocator.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <string>

namespace pelacon::service::tests {
namespace {

namespace fs = std::filesystem;

class IdAllocatorTest : public testing::Test {
  protected:
    IdAllocatorTest()
        : folder_(fs::path(testing::TempDir()) /
                  (std::string("pelacon-ids-") +
                   testing::UnitTest::GetInstance()->current_test_info()->name()))
    {
        fs::remove_all(folder_);
        fs::create_directories(folder_);
    }
    ~IdAllocatorTest() override { fs::remove_all(folder_); }

    std::string File() const { return (folder_ / "ids").string(); }
    void Write(const std::string& text) const { std::ofstream(File(), std::ios::binary) << text; }

    fs::path folder_;
};

TEST_F(IdAllocatorTest, IdsArePositiveAndNeverTheSame)
{
    IdAllocator ids(File());
    std::set<std::int32_t> given;
    for (int i = 0; i < 3 * IdAllocator::kBlock; ++i) {
        const std::int32_t id = ids.Next();
        EXPECT_GT(id, 0);
        EXPECT_TRUE(given.insert(id).second);
    }
}

TEST_F(IdAllocatorTest, ALaterServiceGoesOnBehindTheEarlierOne)
{
    std::set<std::int32_t> given;
    for (int service = 0; service < 3; ++service) {
        IdAllocator ids(File());
        for (int i = 0; i < IdAllocator::kBlock + 10; ++i) {
            EXPECT_TRUE(given.insert(ids.Next()).second);
        }
    }
}

TEST_F(IdAllocatorTest, AServiceThatGaveNoIdsCostsNoneOfThoseGiven)
{
    const std::int32_t before = IdAllocator(File()).Next();
    {
        const IdAllocator unused(File());
    }
    EXPECT_GT(IdAllocator(File()).Next(), before);
}

TEST_F(IdAllocatorTest, AFileThatIsNotItsOwnIsRefusedByName)
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

TEST_F(IdAllocatorTest, AFolderThatIsNotThereIsAnError)
{
    EXPECT_THROW(IdAllocator((folder_ / "nowhere" / "ids").string()), IdError);
}

TEST_F(IdAllocatorTest, WhenAllIdsAreGivenItSaysSo)
{
    Write("pelacon-next-id 2147483000\n");
    EXPECT_THROW(IdAllocator{File()}, IdError);
}

}  // namespace
}  // namespace pelacon::service::tests
