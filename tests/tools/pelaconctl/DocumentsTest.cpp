// Man pages and completion scripts, as they are made from the tree of commands.
#include <tools/pelaconctl/Console.h>
#include <tools/pelaconctl/Program.h>
#include <tools/pelaconctl/documents/CommandTree.h>

#include <CLI/CLI.hpp>
#include <gmock/gmock.h>

#include <functional>

namespace pelacon::ctl {

namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

class Documents : public ::testing::Test {
  protected:
    const DocumentedCommand& Command(const std::string& name) const
    {
        for (const DocumentedCommand& command : tree.subcommands) {
            if (command.name == name) {
                return command;
            }
        }
        throw std::runtime_error("there is no command " + name);
    }

    Console console;
    DocumentedCommand tree = ReadTree(*MakeProgram(console));
};

void ExpectDescribed(const DocumentedCommand& command)
{
    EXPECT_NE(command.description, "") << command.path;
    for (const DocumentedOption& option : command.options) {
        EXPECT_NE(option.description, "") << command.path << " " << option.names.front();
    }
    for (const DocumentedCommand& subcommand : command.subcommands) {
        ExpectDescribed(subcommand);
    }
}

TEST_F(Documents, EveryCommandAndOptionIsDescribed)
{
    ExpectDescribed(tree);
}

TEST_F(Documents, APageHasAllSubcommandsWithTheirOptions)
{
    const std::string page = ManPage(Command("service"), {"pelaconctl"});
    EXPECT_THAT(page, AllOf(HasSubstr(".TH PELACONCTL\\-SERVICE 1"),
                            HasSubstr("\npelaconctl\\-service \\- The service itself"),
                            HasSubstr(".SS pelaconctl service fault set\n"),
                            HasSubstr("\\fB\\-\\-probability\\fR \\fIFLOAT\\fR\n"),
                            HasSubstr("\\fIREQUEST\\fR"), HasSubstr(".SH EXAMPLES\n"),
                            HasSubstr(".SH SEE ALSO\n\\fBpelaconctl\\fR(1)\n")));
    EXPECT_THAT(page, Not(HasSubstr("\n'")));
}

TEST_F(Documents, ThePageOfTheProgramHasTheExitStatuses)
{
    const std::string page = ManPage(tree, {"pelaconctl bt", "pelaconctl scan"});
    EXPECT_THAT(
        page, AllOf(HasSubstr(".SH EXIT STATUS\n"), HasSubstr("130  interrupted"),
                    HasSubstr("\\fBpelaconctl\\-bt\\fR(1),\n"), HasSubstr("\\fB\\-\\-json\\fR\n")));
}

TEST_F(Documents, CompletionKnowsSubcommandsAndOptions)
{
    EXPECT_THAT(BashCompletion(tree),
                AllOf(HasSubstr("'pelaconctl bt') words='status on off name connected "),
                      HasSubstr("'pelaconctl bt connected') words='"), HasSubstr("--classic")));
    EXPECT_THAT(ZshCompletion(tree),
                AllOf(HasSubstr("#compdef pelaconctl\n"), HasSubstr("'doctor:Show where"),
                      HasSubstr("'status:Show the service'\\''s clients")));
    EXPECT_THAT(FishCompletion(tree),
                HasSubstr("complete -c pelaconctl -n '__pelaconctl_at \"pelaconctl bt\"' -a "
                          "'status' -d 'Show whether"));
}

}  // namespace

}  // namespace pelacon::ctl
