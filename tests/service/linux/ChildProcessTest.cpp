#include <service/linux/ChildProcess.h>
#include <tests/service/linux/OnLoop.h>
#include <tests/support/TemporaryFolder.h>

#include <gmock/gmock.h>

#include <cerrno>
#include <csignal>
#include <fstream>

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
            child = std::make_unique<ChildProcess>(loop, arguments, [this](int code) {
                codes.push_back(code);
                child.reset();
            });
        });
    }
    bool Ends()
    {
        return Eventually([this] { return codes.size() == 1; });
    }

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
    const test::TemporaryFolder folder;
    const std::string file = folder.File("id");
    Start({"sh", "-c", "echo $$ > " + file + "; exec sleep 600"});
    pid_t id = 0;
    ASSERT_TRUE(Eventually([&] { return static_cast<bool>(std::ifstream(file) >> id); }));
    EXPECT_EQ(kill(id, 0), 0);
    Do([this] { child.reset(); });
    EXPECT_EQ(kill(id, 0), -1);
    EXPECT_EQ(errno, ESRCH);
    EXPECT_THAT(codes, IsEmpty());
}

}  // namespace

}  // namespace pelacon::service::linux_radios::tests
