// The folder of the socket, prepared by an attacker.
#include <tests/security/SecurityTest.h>

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace pelacon::test {

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class FoldersTest : public SecurityTest {
  protected:
    void SetUp() override
    {
        SecurityTest::SetUp();
        chmod(files.Path().c_str(), 0755);
    }

    static void Link(const std::string& from, const std::string& to, const User& owner)
    {
        fs::create_symlink(to, from);
        Own(from, owner);
    }

    /// A file of Ada's that an attacker wants to change.
    std::string Victim() const
    {
        std::string path = files.File("victim");
        std::ofstream(path) << "as it was";
        Own(path, Ada());
        chmod(path.c_str(), 0644);
        return path;
    }

    static bool IsAsItWas(const std::string& victim)
    {
        std::ifstream stream(victim);
        const std::string text{std::istreambuf_iterator<char>(stream), {}};
        struct stat status {};
        return stat(victim.c_str(), &status) == 0 && (status.st_mode & 07777U) == 0644U &&
               text == "as it was";
    }
};

TEST_F(FoldersTest, OneOfTheUsersOwnIsUsed)
{
    EXPECT_EQ(Refusal(Ada(), Folder("own", Ada(), 0700)), "");
    EXPECT_EQ(Refusal(Ada(), Folder("shared", Ada(), 0775)), "") << "the group is Ada's choice";
    EXPECT_EQ(Refusal(Ada(), Folder("of root", kRoot, 01777)), "") << "a folder such as /tmp";
}

TEST_F(FoldersTest, OneInWhichAllUsersCanWriteIsRefused)
{
    const std::string open = Folder("open", Ada(), 0777);
    EXPECT_THAT(Refusal(Ada(), open), HasSubstr(open + ": all users can delete files in it"));
    EXPECT_THAT(Refusal(kRoot, Folder("open of root", kRoot, 0777)), HasSubstr("all users"));
}

TEST_F(FoldersTest, OneOfAnotherUserIsRefused)
{
    const std::string folder = Folder("of Mallory", Mallory(), 01777);
    for (const User& user : {Ada(), kRoot}) {
        EXPECT_THAT(Refusal(user, folder), HasSubstr(folder + ": it may belong to another user"));
    }
}

TEST_F(FoldersTest, ALinkOfAnotherUserIsRefused)
{
    const std::string folder = Folder("own", Ada(), 0700);
    const std::string link = files.File("link");
    Link(link, folder, Mallory());
    EXPECT_THAT(Refusal(Ada(), link), HasSubstr(link + ": it may belong to another user"));
    EXPECT_TRUE(fs::is_empty(folder));
    Own(link, Ada());
    EXPECT_EQ(Refusal(Ada(), link), "");
}

TEST_F(FoldersTest, LinksInPlaceOfItsFilesLeadNowhere)
{
    const std::string victim = Victim();
    for (const char* const suffix : {".sock", ".lock", ".state.next"}) {
        SCOPED_TRACE(suffix);
        const std::string folder = Folder(std::string("folder") + suffix, Ada(), 0775);
        Link(folder + "/ChannelTest" + suffix, victim, Mallory());
        const auto service = Service(Ada(), folder);
        service->NextLine();
        EXPECT_TRUE(IsAsItWas(victim));
        EXPECT_EQ(fs::is_symlink(Socket(folder)), false) << "it is replaced or refused";
    }
}

TEST_F(FoldersTest, AServiceServesNobodyElseEvenIfModesAdmitThem)
{
    const std::string folder = Folder("for all", kRoot, 01777);
    const auto service = Service(Ada(), folder);
    ASSERT_TRUE(IsReady(*service));
    EXPECT_EQ(Intrusion(Mallory(), folder), "not connected") << "the mode of the socket";
    chmod(Socket(folder).c_str(), 0666);
    EXPECT_EQ(Intrusion(Mallory(), folder), "closed");
    EXPECT_EQ(Intrusion(Ada(), folder), "obeyed");
    EXPECT_EQ(Intrusion(kRoot, folder), "obeyed");
}

TEST_F(FoldersTest, AnotherUsersSocketInTheWayIsNotUsed)
{
    const std::string folder = Folder("for all", kRoot, 01777);
    const auto impostor = Service(Mallory(), folder);
    ASSERT_TRUE(IsReady(*impostor));
    chmod(Socket(folder).c_str(), 0666);
    EXPECT_THAT(Refusal(Ada(), folder), HasSubstr("cannot create " + folder));
    EXPECT_EQ(Outcome(Ada(), "call", folder), "not served");
    EXPECT_EQ(Outcome(kRoot, "call", folder), "not served");
    EXPECT_THAT(Outcome(Ada(), "command", folder),
                HasSubstr("process " + std::to_string(impostor->Id()) + " listens at"));
    EXPECT_EQ(Outcome(Mallory(), "call", folder), "served") << "who runs it";
}

TEST_F(FoldersTest, OfTheSystemIsUsedIfItBelongsToRoot)
{
    const std::string folder = "/run/pelacon";
    fs::create_directory(folder);
    Own(folder, Mallory());
    EXPECT_THAT(Refusal(kRoot, ""), HasSubstr(folder + ": it may belong to another user"));
    Own(folder, kRoot);
    const std::string victim = Victim();
    Link(Socket(folder), victim, Mallory());
    const auto service = Service(kRoot);
    ASSERT_TRUE(IsReady(*service));
    EXPECT_EQ(Outcome(kRoot, "call"), "served");
    EXPECT_TRUE(IsAsItWas(victim));
}

}  // namespace

}  // namespace pelacon::test
