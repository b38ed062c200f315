#include <tests/security/SecurityTest.h>
#include <tests/support/ServiceProcess.h>

#include <pwd.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <stdexcept>

namespace pelacon::test {

namespace {

/// Made by useradd. A process of its own removes it, which outlives this one if need be.
class SystemUser {
  public:
    explicit SystemUser(const char* purpose)
        : name_(std::string("pelacon-") + purpose + "-" + std::to_string(getpid()))
    {
        ChildProcess useradd("/usr/sbin/useradd", {"--system", "--user-group", "--no-create-home",
                                                   "--shell", "/usr/sbin/nologin", name_});
        if (useradd.Wait() != 0) {
            throw std::runtime_error("cannot make a user: " + useradd.Errors());
        }
        remover_ = std::make_unique<ChildProcess>(
            "/bin/sh",
            std::vector<std::string>{
                "-c", "trap '' INT TERM HUP; read end; exec /usr/sbin/userdel --force \"$0\"",
                name_},
            ChildProcess::Options{.input = true});
        const passwd* const entry = getpwnam(name_.c_str());
        if (entry == nullptr) {
            throw std::runtime_error(name_ + " is not known to the system");
        }
        user_ = {entry->pw_uid, entry->pw_gid};
    }

    ~SystemUser()
    {
        remover_->Write("end");
        EXPECT_EQ(remover_->Wait(), 0) << remover_->Errors();
    }

    SystemUser(const SystemUser&) = delete;
    SystemUser& operator=(const SystemUser&) = delete;

    const User& Get() const noexcept { return user_; }

  private:
    const std::string name_;
    std::unique_ptr<ChildProcess> remover_;
    User user_;
};

/// Nothing of the machine's /run, and nothing that is put there, is seen on the other side.
bool EnterOwnRun()
{
    return unshare(CLONE_NEWNS) == 0 &&
           mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("none", "/run", "tmpfs", 0, "mode=0755") == 0;
}

/// What all tests of the program share.
class Surroundings : public testing::Environment {
  public:
    void SetUp() override
    {
        if (geteuid() != 0) {
            whyNot = "needs root, to make users";
        } else if (!EnterOwnRun()) {
            whyNot = "a /run of its own is not allowed here";
        } else {
            ada = std::make_unique<SystemUser>("ada");
            mallory = std::make_unique<SystemUser>("mallory");
        }
    }

    void TearDown() override
    {
        ada.reset();
        mallory.reset();
    }

    const char* whyNot = nullptr;
    std::unique_ptr<SystemUser> ada;
    std::unique_ptr<SystemUser> mallory;
};

Surroundings& TheSurroundings()
{
    static Surroundings* const surroundings = new Surroundings;  // owned by GoogleTest
    return *surroundings;
}

[[maybe_unused]] testing::Environment* const registered =
    testing::AddGlobalTestEnvironment(&TheSurroundings());

}  // namespace

const User SecurityTest::kRoot;

const User& SecurityTest::Ada()
{
    return TheSurroundings().ada->Get();
}

const User& SecurityTest::Mallory()
{
    return TheSurroundings().mallory->Get();
}

void SecurityTest::SetUp()
{
    if (const char* const whyNot = TheSurroundings().whyNot) {
        GTEST_SKIP() << whyNot;
    }
    std::filesystem::remove_all("/run/pelacon");
}

std::unique_ptr<ChildProcess> SecurityTest::Run(const User& user, const std::string& program,
                                                const std::vector<std::string>& arguments,
                                                const std::string& folder,
                                                const std::string& namespaces)
{
    std::vector<std::string> words{std::to_string(user.id), std::to_string(user.group), namespaces,
                                   program};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return std::make_unique<ChildProcess>(
        PELACON_AS_USER, words,
        ChildProcess::Options{
            .input = true, .environment = {"PELACON_RUNTIME_DIR=" + folder, "XDG_RUNTIME_DIR="}});
}

std::string SecurityTest::Outcome(const User& user, const std::string& role,
                                  const std::string& folder, const std::string& namespaces)
{
    const auto peer = Peer(user, {role}, folder, namespaces);
    return peer->NextLine().value_or("nothing: " + peer->Errors());
}

std::string SecurityTest::Intrusion(const User& user, const std::string& folder,
                                    const std::string& namespaces)
{
    const auto peer = Peer(user, {"intrude", Socket(folder)}, "", namespaces);
    return peer->NextLine().value_or("nothing: " + peer->Errors());
}

std::unique_ptr<ChildProcess> SecurityTest::Service(const User& user, const std::string& folder,
                                                    const std::string& namespaces)
{
    return Run(user, ServicePath(), {"--pipe", "ChannelTest"}, folder, namespaces);
}

bool SecurityTest::IsReady(ChildProcess& service)
{
    const auto line = service.NextLine();
    EXPECT_TRUE(line) << service.Errors();
    return line && line->starts_with("ready ");
}

std::string SecurityTest::Refusal(const User& user, const std::string& folder,
                                  const std::string& namespaces)
{
    constexpr int kPipeCannotBeUsed = 4;
    const auto service = Service(user, folder, namespaces);
    if (service->NextLine()) {
        return {};
    }
    EXPECT_EQ(service->Wait(), kPipeCannotBeUsed);
    return service->Errors();
}

std::string SecurityTest::Folder(const std::string& name, const User& owner, mode_t mode) const
{
    std::string path = files.File(name);
    EXPECT_EQ(mkdir(path.c_str(), 0700), 0) << path;
    Own(path, owner);
    EXPECT_EQ(chmod(path.c_str(), mode), 0) << path;
    return path;
}

void SecurityTest::Own(const std::string& path, const User& owner)
{
    EXPECT_EQ(lchown(path.c_str(), owner.id, owner.group), 0) << path;
}

}  // namespace pelacon::test
