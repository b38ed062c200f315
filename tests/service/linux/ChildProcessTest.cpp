#include <protocol/Hex.h>
#include <service/linux/ChildProcess.h>
#include <tests/service/linux/OnLoop.h>
#include <tests/support/TemporaryFolder.h>

#include <gmock/gmock.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <fstream>
#include <system_error>

namespace pelacon::service::linux_radios::tests {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class AChildProcess : public LoopTest {
  protected:
    ~AChildProcess() override
    {
        Do([this] { child.reset(); });
    }

    void Start(const std::vector<std::string>& arguments)
    {
        Do([&] {
            child = std::make_unique<ChildProcess>(loop, arguments, rights, [this](int code) {
                codes.push_back(code);
                child.reset();
            });
        });
    }
    bool Ends()
    {
        return Eventually([this] { return codes.size() == 1; });
    }

    /// A field of the child's status, as the kernel shows it.
    std::string StatusOf(const std::string& field) const
    {
        std::ifstream file("/proc/" + std::to_string(Id()) + "/status");
        for (std::string line; std::getline(file, line);) {
            if (line.starts_with(field + ":")) {
                const std::size_t begin = line.find_first_not_of("\t ", field.size() + 1);
                return begin != std::string::npos ? line.substr(begin) : "";
            }
        }
        return "";
    }
    /// Of a child that was started with RunForLong.
    pid_t Id() const
    {
        pid_t id = 0;
        std::ifstream(folder.File("id")) >> id;
        return id;
    }
    /// Runs until it is killed.
    void RunForLong()
    {
        Start({"sh", "-c", "trap '' TERM; echo $$ > " + folder.File("id") + "; exec sleep 600"});
        ASSERT_TRUE(Eventually([this] { return StatusOf("Name") == "sleep"; }));
    }

    test::TemporaryFolder folder;
    ProcessRights rights;
    std::vector<int> codes;
    std::unique_ptr<ChildProcess> child;
};

TEST_F(AChildProcess, EndsWithItsCode)
{
    Start({"sh", "-c", "exit 3"});
    ASSERT_TRUE(Ends());
    EXPECT_THAT(codes, ElementsAre(3));
}

TEST_F(AChildProcess, EndsWhenItIsAskedTo)
{
    Start({"sleep", "600"});
    Do([this] { child->Terminate(); });
    ASSERT_TRUE(Ends());
    EXPECT_THAT(codes, ElementsAre(-SIGTERM));
}

TEST_F(AChildProcess, MayNotBeStarted)
{
    Start({"/no/such/program"});
    ASSERT_TRUE(Ends());
    EXPECT_THAT(codes, ElementsAre(ChildProcess::kNotStarted));
}

TEST_F(AChildProcess, DoesNotOutliveItsObject)
{
    RunForLong();
    EXPECT_EQ(kill(Id(), 0), 0);
    Do([this] { child.reset(); });
    EXPECT_TRUE(test::Eventually([this] { return kill(Id(), 0) == -1 && errno == ESRCH; }));
    EXPECT_THAT(codes, IsEmpty());
}

TEST_F(AChildProcess, IsNotLeftBehindWhereItCannotBeWatched)
{
    if (PELACON_TEST_SANITIZED != 0) {
        GTEST_SKIP() << "UBSan opens a pipe to check an object's type";
    }
    Do([this] {
        rlimit before{};
        ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
        const rlimit none{0, before.rlim_max};
        ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
        EXPECT_THROW(ChildProcess(loop, {"sleep", "600"}, rights, [](int /*code*/) {}),
                     std::system_error);
        ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
    });
    EXPECT_TRUE(test::Eventually([] {
        siginfo_t info{};
        return waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == -1 && errno == ECHILD;
    })) << "there is no child, dead or alive";
}

TEST_F(AChildProcess, HasNoRightsButThoseThatItIsGiven)
{
    rights.capabilities = {Capability::kNetAdmin, Capability::kNetRaw};
    RunForLong();
    std::uint64_t expected = 0;
    for (const Capability capability : rights.capabilities) {
        expected |= HasCapability(capability) ? 1U << static_cast<unsigned>(capability) : 0U;
    }
    const std::string digits = protocol::HexNumber(expected, 16);
    for (const char* const set : {"CapInh", "CapPrm", "CapEff", "CapAmb"}) {
        EXPECT_THAT(StatusOf(set), testing::StrCaseEq(digits)) << set;
    }
    EXPECT_EQ(StatusOf("NoNewPrivs"), "1");
}

TEST_F(AChildProcess, HasTheAccountThatItIsGiven)
{
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root may give another";
    }
    constexpr uid_t kUser = 54321;
    ASSERT_EQ(chmod(folder.Path().c_str(), 0777), 0);
    rights = {{Capability::kNetAdmin}, Account{kUser, kUser}};
    RunForLong();
    EXPECT_EQ(StatusOf("Uid"), "54321\t54321\t54321\t54321");
    EXPECT_EQ(StatusOf("Gid"), "54321\t54321\t54321\t54321");
    EXPECT_EQ(StatusOf("Groups"), "");
    EXPECT_EQ(StatusOf("CapEff") == "0000000000001000", HasCapability(Capability::kNetAdmin));
}

/// Starts a child, writes its id to a file, and waits.
[[noreturn]] void RunWithAChild(const std::string& file)
{
    Loop loop{[](std::string_view) {}};
    std::unique_ptr<ChildProcess> child;
    loop.Post([&] {
        child = std::make_unique<ChildProcess>(
            loop,
            std::vector<std::string>{"sh", "-c",
                                     "trap '' TERM; echo $$ > " + file + "; exec sleep 600"},
            ProcessRights(), [](int /*code*/) {});
    });
    while (true) {
        pause();
    }
}

TEST(TheChildOfAKilledProcess, IsKilled)
{
    const test::TemporaryFolder folder;
    const std::string file = folder.File("id");
    // It becomes this process's child when its parent is killed.
    ASSERT_EQ(prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0), 0);
    const pid_t parent = fork();
    if (parent == 0) {
        RunWithAChild(file);
    }
    pid_t id = 0;
    EXPECT_TRUE(test::Eventually([&] { return static_cast<bool>(std::ifstream(file) >> id); }));
    EXPECT_EQ(kill(parent, SIGKILL), 0);
    int status = 0;
    EXPECT_EQ(waitpid(parent, &status, 0), parent);
    if (id > 0) {
        EXPECT_EQ(waitpid(id, &status, 0), id);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << status;
    }
    prctl(PR_SET_CHILD_SUBREAPER, 0, 0, 0, 0);
}

}  // namespace

}  // namespace pelacon::service::linux_radios::tests
