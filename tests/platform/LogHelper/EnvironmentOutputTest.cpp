// What PELACON_LOG makes of a program's lines, seen from outside.
#include <tests/support/TemporaryFolder.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::Not;

std::vector<std::string> LinesOf(const std::string& file)
{
    std::vector<std::string> lines;
    std::ifstream in(file, std::ios::binary);
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

/// A line of the output: time of day, the level's letter, the text in UTF-8.
auto LineOf(char letter, int level)
{
    return MatchesRegex("[0-9]+-[0-9]+-[0-9]+ [0-9]+:[0-9]+:[0-9]+\\.[0-9]+Z " +
                        std::string(1, letter) + " line " + std::to_string(level) +
                        " \xE2\x82\xAC");
}

class EnvironmentOutputTest : public ::testing::Test {
  protected:
    /// Runs the writer with PELACON_LOG set to this.
    void Run(const std::string& wish, const std::string& argument = "")
    {
        const std::string command = std::string("\"") + CMAKE_PROGRAM +
                                    "\" -E env \"PELACON_LOG=" + wish + "\" \"" + LOG_WRITER +
                                    "\" " + argument + " >\"" + folder_.File("out") + "\" 2>\"" +
                                    folder_.File("err") + "\"";
        ASSERT_EQ(std::system(command.c_str()), 0) << command;
    }

    std::vector<std::string> Output() const { return LinesOf(folder_.File("out")); }
    std::vector<std::string> Errors() const { return LinesOf(folder_.File("err")); }
    std::string LogFile() const { return folder_.File("file.log"); }

  private:
    pelacon::test::TemporaryFolder folder_;
};

TEST_F(EnvironmentOutputTest, ALevelSendsLinesToStderr)
{
    Run("1");
    EXPECT_THAT(Errors(),
                ElementsAre(LineOf('T', 1), LineOf('I', 2), LineOf('W', 3), LineOf('E', 4)));
    EXPECT_THAT(Output(), ElementsAre("wanted 1 1", "wanted 2 1", "wanted 3 1", "wanted 4 1"));
}

TEST_F(EnvironmentOutputTest, LinesBelowTheLevelAreNotWanted)
{
    Run("3");
    EXPECT_THAT(Errors(), ElementsAre(LineOf('W', 3), LineOf('E', 4)));
    EXPECT_THAT(Output(), ElementsAre("wanted 1 0", "wanted 2 0", "wanted 3 1", "wanted 4 1"));
}

TEST_F(EnvironmentOutputTest, AFileIsAppendedTo)
{
    Run("4:" + LogFile());
    EXPECT_THAT(Errors(), IsEmpty());
    EXPECT_THAT(LinesOf(LogFile()), ElementsAre(LineOf('E', 4)));
    Run("3:" + LogFile());
    EXPECT_THAT(LinesOf(LogFile()), ElementsAre(LineOf('E', 4), LineOf('W', 3), LineOf('E', 4)));
}

TEST_F(EnvironmentOutputTest, TheSinkAndTheFileEachHaveTheirLevel)
{
    Run("4:" + LogFile(), "sink");
    EXPECT_THAT(LinesOf(LogFile()), ElementsAre(LineOf('E', 4)));
    EXPECT_THAT(Output(), ElementsAre("sink 2 8", "sink 3 8", "sink 4 8", "wanted 1 0",
                                      "wanted 2 1", "wanted 3 1", "wanted 4 1"));
    Run("1:" + LogFile(), "sink");
    EXPECT_EQ(LinesOf(LogFile()).size(), 1U + 4U);
    EXPECT_THAT(Output(),
                AllOf(Contains("sink 2 8"), Not(Contains("sink 1 8")), Contains("wanted 1 1")));
}

TEST_F(EnvironmentOutputTest, AnythingElseIsOff)
{
    for (const std::string wish :
         {"", "0", "5", "9", "-1", "on", "2x", "12", "2:", ":x", "2:/no/such/folder/file.log"}) {
        Run(wish);
        EXPECT_THAT(Errors(), IsEmpty()) << wish;
        EXPECT_THAT(Output(), Contains("wanted 4 0")) << wish;
    }
}

}  // namespace
