// Programs that have more rights than the user who starts them, and chooses their environment.
#include <tests/security/SecurityTest.h>

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <optional>
#include <string>

namespace pelacon::test {

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

class EnvironmentTest : public SecurityTest {
  protected:
    /// Runs Peer.cpp as Mallory, from a file that has this mode and belongs to Ada, with all
    /// variables that the library reads.
    std::unique_ptr<ChildProcess> Places(mode_t mode) const
    {
        const std::string program = files.File("program");
        fs::copy_file(PELACON_SECURITY_PEER, program);
        Own(program, Ada());
        chmod(program.c_str(), mode);
        const std::vector<std::string> arguments{std::to_string(Mallory().id),
                                                 std::to_string(Mallory().group), "none", program,
                                                 "places"};
        return std::make_unique<ChildProcess>(
            PELACON_AS_USER, arguments,
            ChildProcess::Options{
                .environment = {"PELACON_RUNTIME_DIR=", "XDG_RUNTIME_DIR=/of-mallory",
                                "PELACON_SERVICE_PATH=/of-mallory/service",
                                "PELACON_LOG=4:" + LogFile()}});
    }

    std::string LogFile() const { return files.File("log"); }
};

TEST_F(EnvironmentTest, AProgramWithItsUsersRightsObeysTheVariables)
{
    chmod(files.Path().c_str(), 0777);
    const auto program = Places(0755);
    EXPECT_EQ(program->NextLine(), "usual rights");
    EXPECT_THAT(program->NextLine(), testing::Optional(HasSubstr("/of-mallory/pelacon")));
    EXPECT_THAT(program->NextLine(), testing::Optional(HasSubstr("/of-mallory/service")));
    program->Wait();
    EXPECT_TRUE(fs::exists(LogFile()));
}

TEST_F(EnvironmentTest, AProgramWithMoreRightsIgnoresTheVariables)
{
    chmod(files.Path().c_str(), 0777);
    const auto program = Places(04755);
    const auto rights = program->NextLine();
    if (rights == "usual rights") {
        GTEST_SKIP() << "the folder for temporary files is mounted with nosuid";
    }
    EXPECT_EQ(rights, "more rights");
    EXPECT_EQ(program->NextLine(), "/run/pelacon/ChannelTest.sock ");
    EXPECT_THAT(program->NextLine(), testing::Optional(Not(HasSubstr("of-mallory"))));
    program->Wait();
    EXPECT_FALSE(fs::exists(LogFile()));
}

}  // namespace

}  // namespace pelacon::test
