// The output of programs with PELACON_LOG.
#include <tests/support/ChildProcess.h>
#include <tests/support/Matches.h>
#include <tests/support/TemporaryFolder.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

using pelacon::test::ChildProcess;
using pelacon::test::Matches;
using pelacon::test::TemporaryFolder;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

std::vector<std::string> LinesIn(std::istream&& in)
{
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::vector<std::string> LinesOf(const std::string& file)
{
    return LinesIn(std::ifstream(file));
}

/// A line of the output: time of day, the level's letter, the text in UTF-8.
auto LineOf(char letter, int level)
{
    return Matches("\\d+-\\d+-\\d+ \\d+:\\d+:\\d+\\.\\d+Z " + std::string(1, letter) + " line " +
                   std::to_string(level) + " \xE2\x82\xAC");
}

class EnvironmentOutputTest : public ::testing::Test {
  protected:
    /// Runs the writer with PELACON_LOG set to this.
    void Run(const std::string& wish, const std::vector<std::string>& arguments = {})
    {
        ChildProcess::Options options;
        options.environment = {"PELACON_LOG=" + wish};
        ChildProcess writer(LOG_WRITER, arguments, options);
        ASSERT_EQ(writer.Wait(), 0) << wish;
        output_ = writer.Output();
        errors_ = writer.Errors();
    }

    std::vector<std::string> Output() const { return LinesIn(std::istringstream(output_)); }
    std::vector<std::string> Errors() const { return LinesIn(std::istringstream(errors_)); }
    std::string LogFile() const { return folder_.File("file.log"); }

  private:
    TemporaryFolder folder_;
    std::string output_;
    std::string errors_;
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
    Run("4:" + LogFile(), {"sink"});
    EXPECT_THAT(LinesOf(LogFile()), ElementsAre(LineOf('E', 4)));
    EXPECT_THAT(Output(), ElementsAre("sink 2 8", "sink 3 8", "sink 4 8", "wanted 1 0",
                                      "wanted 2 1", "wanted 3 1", "wanted 4 1"));
    Run("1:" + LogFile(), {"sink"});
    EXPECT_EQ(LinesOf(LogFile()).size(), 1U + 4U);
    EXPECT_THAT(Output(),
                AllOf(Contains("sink 2 8"), Not(Contains("sink 1 8")), Contains("wanted 1 1")));
}

TEST_F(EnvironmentOutputTest, IsOffIfNothingIsWanted)
{
    for (const std::string wish : {"", "0", "0:file"}) {
        Run(wish);
        EXPECT_THAT(Errors(), IsEmpty()) << wish;
        EXPECT_THAT(Output(), Contains("wanted 4 0")) << wish;
    }
}

TEST_F(EnvironmentOutputTest, AnythingElseIsOffAndRefusedOnce)
{
    for (const std::string wish : {"5", "9", "-1", "on", "2x", "12", "2:", ":x"}) {
        Run(wish);
        EXPECT_THAT(Errors(),
                    ElementsAre(StartsWith("PelaconSDK: PELACON_LOG=" + wish + " is not valid")));
        EXPECT_THAT(Output(), Contains("wanted 4 0")) << wish;
    }
}

TEST_F(EnvironmentOutputTest, AFileThatCannotBeWrittenIsNamedOnce)
{
    Run("2:/no/such/folder/file.log");
    EXPECT_THAT(Errors(), ElementsAre(EndsWith("cannot be written: /no/such/folder/file.log")));
    EXPECT_THAT(Output(), Contains("wanted 4 0"));
}

}  // namespace
