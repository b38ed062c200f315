#include <IPCMessage/IPCControl.h>
#include <tests/platform/IPCMessage/Fixture.h>
#include <tests/platform/IPCMessage/RawPeers.h>
#include <tests/platform/IPCMessage/peer/Roles.h>

#include <fcntl.h>
#include <grp.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <iostream>

namespace pelacon::test {

namespace {

constexpr uid_t kNobody = 65534;

void Become(uid_t user)
{
    if (setgroups(0, nullptr) != 0 || setgid(user) != 0 || setuid(user) != 0) {
        throw std::runtime_error("cannot become another user");
    }
}

void BecomeNobody()
{
    Become(kNobody);
}

int Control(std::string_view command = "command")
{
    IPCControlError error{};
    const auto answer = IPCSendControl(kPipe, command, kPatience, error);
    const bool refused = error.kind == IPCControlError::Kind::kRefused;
    std::cout << (answer ? *answer : refused ? "refused" : error.message) << std::endl;
    return 0;
}

/// The output of this program in another role.
std::string Outcome(const std::string& role)
{
    std::array<char, 256> line{};
    FILE* const output = popen(("exec " CHANNEL_PEER " " + role).c_str(), "re");
    if (output == nullptr || std::fgets(line.data(), line.size(), output) == nullptr) {
        line = {};
    }
    pclose(output);
    std::string text = line.data();
    return text.substr(0, text.find('\n'));
}

std::string ModeOf(const std::string& path)
{
    struct stat status {};
    std::array<char, 16> text{};
    if (stat(path.c_str(), &status) == 0) {
        std::snprintf(text.data(), text.size(), "%o", status.st_mode & 07777U);
    }
    return text.data();
}

/// Gives this process its own /run, in which a service of the system listens; false, with a
/// message, where that is not allowed.
bool EnterOwnSystem()
{
    if (unshare(CLONE_NEWNS) != 0 ||
        mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("none", "/run", "tmpfs", 0, nullptr) != 0) {
        std::cout << "cannot" << std::endl;
        return false;
    }
    unsetenv("PELACON_RUNTIME_DIR");
    unsetenv("XDG_RUNTIME_DIR");
    return true;
}

/// Opens connections until one is refused, writes how many it has, and keeps them until its input
/// ends.
int Hoard()
{
    constexpr std::size_t kMore = 1000;
    std::vector<std::unique_ptr<RawClient>> hoarded;
    while (hoarded.size() < kMore) {
        auto next = std::make_unique<RawClient>();
        next->Greet(ipc::FrameKind::kHelloCall);
        next->Send({.kind = ipc::FrameKind::kRequest, .sequence = 1});
        if (!next->Receive()) {
            break;
        }
        hoarded.push_back(std::move(next));
    }
    std::cout << hoarded.size() << std::endl;
    std::string ignored;
    while (std::getline(std::cin, ignored)) {
    }
    return 0;
}

/// A service for all users that accepts few connections. Writes which callers are accepted.
int ServeCrowd()
{
    if (!EnterOwnSystem()) {
        return 0;
    }
    const rlimit few{320, 320};
    setrlimit(RLIMIT_NOFILE, &few);
    Handler handler;
    const IPCMessageServer server(kPipe, handler);
    chmod(server.Address().c_str(), 0666);
    std::cout << "256 places" << std::endl;
    std::vector<std::unique_ptr<PeerProcess>> hoarders;
    const auto hoard = [&](uid_t user, const char* whose) {
        hoarders.push_back(std::make_unique<PeerProcess>("hoard-as-" + std::to_string(user)));
        std::cout << hoarders.back()->ReadLine() << whose << std::endl;
    };
    const auto report = [](const char* what, const std::string& outcome) {
        std::cout << what << outcome << std::endl;
    };
    hoard(60001, " of the first user's first process");
    hoard(60001, " of its second");
    hoard(60001, " of its third");
    report("a program of another user: ", Outcome("call-as-nobody"));
    hoard(60002, " of the second user's first process");
    hoard(60002, " of its second");
    report("a program of another user: ", Outcome("call-as-nobody"));
    hoard(60003, " of a third user");
    hoard(60004, " of a fourth user");
    report("a program of another user: ", Outcome("call-as-nobody"));
    report("an operator's command: ", Outcome("control"));
    report("an operator's program: ", Outcome("call"));
    std::cout << handler.warnings.Count() << " warning" << std::endl;
    return 0;
}

/// Makes a request without standard input and error.
int CallWithoutStreams()
{
    close(STDIN_FILENO);
    close(STDERR_FILENO);
    const IPCMessageClient client(1, false, false, kPipe);
    std::cout << (IsServed(client) ? "served" : "not served");
    const bool closed = fcntl(STDIN_FILENO, F_GETFD) < 0 && fcntl(STDERR_FILENO, F_GETFD) < 0;
    std::cout << (closed ? ", 0 and 2 closed" : ", 0 or 2 open") << std::endl;
    return 0;
}

/// A service for all users, in its own /run. Writes what its callers receive.
int ServeSystem()
{
    if (!EnterOwnSystem()) {
        return 0;
    }
    Handler handler;
    handler.onControlOfAnyUser = [](std::string_view command) {
        return command == "question" ? std::optional<std::string>("answer") : std::nullopt;
    };
    const IPCMessageServer server(kPipe, handler);
    const std::string& socket = server.Address();
    std::cout << socket << '\n'
              << ModeOf("/run/pelacon") << ' ' << ModeOf(socket) << '\n'
              << Outcome("call-as-nobody") << '\n';
    chmod(socket.c_str(), 0666);
    std::cout << Outcome("call-as-nobody") << '\n'
              << Outcome("control-as-nobody") << '\n'
              << Outcome("control") << '\n'
              << Outcome("ask-as-nobody") << '\n'
              << server.GetStatistics().refusedPeers << '\n'
              << handler.warnings.Last().value_or("no warning") << std::endl;
    return 0;
}

}  // namespace

int PlayPlatformRole(const std::string& role)
{
    if (role == "serve-as-nobody") {
        BecomeNobody();
        return PlayRole("serve");
    }
    if (role == "call-as-nobody") {
        BecomeNobody();
        return PlayRole("call");
    }
    if (role == "control-as-nobody") {
        BecomeNobody();
        return Control();
    }
    if (role == "control") {
        return Control();
    }
    if (role == "ask-as-nobody") {
        BecomeNobody();
        return Control("question");
    }
    if (constexpr std::string_view kHoard = "hoard-as-"; role.starts_with(kHoard)) {
        Become(static_cast<uid_t>(std::stoul(role.substr(kHoard.size()))));
        return Hoard();
    }
    if (role == "call-without-streams") {
        return CallWithoutStreams();
    }
    if (role == "serve-crowd") {
        return ServeCrowd();
    }
    if (role == "serve-system") {
        return ServeSystem();
    }
    throw std::runtime_error("unknown role " + role);
}

}  // namespace pelacon::test
