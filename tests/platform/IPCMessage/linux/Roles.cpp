#include <IPCMessage/IPCControl.h>
#include <tests/platform/IPCMessage/Fixture.h>
#include <tests/platform/IPCMessage/peer/Roles.h>

#include <grp.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <iostream>

namespace pelacon::test {

namespace {

constexpr uid_t kNobody = 65534;

void BecomeNobody()
{
    if (setgroups(0, nullptr) != 0 || setgid(kNobody) != 0 || setuid(kNobody) != 0) {
        throw std::runtime_error("cannot become nobody");
    }
}

int Control()
{
    IPCControlError error{};
    const auto answer = IPCSendControl(kPipe, "command", kLongEnough, error);
    const bool refused = error.kind == IPCControlError::Kind::kRefused;
    std::cout << (answer ? *answer : refused ? "refused" : error.message) << std::endl;
    return 0;
}

/// What this program says in another role, in this process's surroundings.
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

/// A service that all users share, in a /run of its own. Writes what becomes of its visitors.
int ServeSystem()
{
    if (unshare(CLONE_NEWNS) != 0 ||
        mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("none", "/run", "tmpfs", 0, nullptr) != 0) {
        std::cout << "cannot" << std::endl;
        return 0;
    }
    unsetenv("PELACON_RUNTIME_DIR");
    unsetenv("XDG_RUNTIME_DIR");
    Handler handler;
    const IPCMessageServer server(kPipe, handler);
    const std::string& socket = server.Address();
    std::cout << socket << '\n'
              << ModeOf("/run/pelacon") << ' ' << ModeOf(socket) << '\n'
              << Outcome("call-as-nobody") << '\n';
    chmod(socket.c_str(), 0666);
    std::cout << Outcome("call-as-nobody") << '\n'
              << Outcome("control-as-nobody") << '\n'
              << Outcome("control") << '\n'
              << server.GetStatistics().refusedPeers << std::endl;
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
    if (role == "serve-system") {
        return ServeSystem();
    }
    throw std::runtime_error("unknown role " + role);
}

}  // namespace pelacon::test
