// Containers: clients and services in namespaces of their own.
#include <tests/security/SecurityTest.h>

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <string>

namespace pelacon::test {

namespace {

using testing::HasSubstr;

class NamespacesTest : public SecurityTest {
  protected:
    void SetUp() override
    {
        SecurityTest::SetUp();
        if (IsSkipped()) {
            return;
        }
        chmod(files.Path().c_str(), 0755);
        for (const char* const namespaces : {"users", "root", "pids"}) {
            if (Outcome(Ada(), "places", "", namespaces).starts_with("nothing")) {
                GTEST_SKIP() << "namespaces of " << namespaces << " are not allowed here";
            }
        }
        folder = Folder("folder", kRoot, 01777);
    }

    /// Lets the modes of files admit everybody.
    void OpenSocket() const { chmod(Socket(folder).c_str(), 0666); }

    std::string folder;
};

TEST_F(NamespacesTest, RootOfAUserNamespaceIsTheUserWhoMadeIt)
{
    folder = Folder("of Mallory", Mallory(), 0755);
    const auto service = Service(Mallory(), folder, "root");
    ASSERT_TRUE(IsReady(*service));
    OpenSocket();
    EXPECT_THAT(Outcome(Ada(), "command", folder), HasSubstr("is not trusted"));
    EXPECT_THAT(Outcome(kRoot, "command", folder), HasSubstr("is not trusted"));
    EXPECT_EQ(Outcome(Mallory(), "call", folder), "served");
    EXPECT_EQ(Outcome(Mallory(), "call", folder, "root"), "served") << "from another namespace";
}

TEST_F(NamespacesTest, RootOfAUserNamespaceGivesNoCommandsOutside)
{
    const auto service = Service(Ada(), folder);
    ASSERT_TRUE(IsReady(*service));
    OpenSocket();
    EXPECT_EQ(Intrusion(Mallory(), folder, "root"), "closed");
    EXPECT_EQ(Intrusion(Ada(), folder, "root"), "obeyed") << "she is the service's user";
}

// In such a namespace all users look like the client's own.
TEST_F(NamespacesTest, AClientTrustsNobodyWhoHasNoNameInItsNamespace)
{
    const auto service = Service(Mallory(), folder);
    ASSERT_TRUE(IsReady(*service));
    OpenSocket();
    EXPECT_THAT(Outcome(Ada(), "command", folder, "users"), HasSubstr("is not trusted"));
}

TEST_F(NamespacesTest, AServiceThatHasNoNameInItsNamespaceDoesNotStart)
{
    const std::string own = Folder("own", Ada(), 0700);
    EXPECT_THAT(Refusal(Ada(), own, "users"), HasSubstr("it may belong to another user"));
    EXPECT_EQ(Refusal(Ada(), own, "root"), "");
}

TEST_F(NamespacesTest, AServiceServesProcessesThatItCanTellApart)
{
    {
        const auto service = Service(Ada(), folder);
        ASSERT_TRUE(IsReady(*service));
        EXPECT_EQ(Outcome(Ada(), "call", folder, "pids"), "served") << "from an inner namespace";
    }
    const auto service = Service(Ada(), folder, "pids");
    ASSERT_TRUE(IsReady(*service));
    EXPECT_EQ(Outcome(Ada(), "call", folder), "not served") << "from outside";
}

}  // namespace

}  // namespace pelacon::test
