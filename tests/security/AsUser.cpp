// Runs a program as another user: as_user USER GROUP NAMESPACES PROGRAM ARGUMENT...
// NAMESPACES is "none", or what the program gets a new one of:
//   pids    of processes
//   users   of users, in which its user has no name
//   root    of users, in which its user is root
// The program need not be in a folder that the user may enter. It ends with this program's parent.
// Exit code 77: this system does not allow the namespace.
#include <fcntl.h>
#include <grp.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>

namespace {

constexpr int kNotAllowed = 77;

void Check(bool success, const char* what)
{
    if (!success) {
        throw std::runtime_error(what);
    }
}

void Become(uid_t user, gid_t group)
{
    Check(setgroups(0, nullptr) == 0 && setgid(group) == 0 && setuid(user) == 0, "setuid");
}

void EndWithParent()
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
}

bool EnterUserNamespace(bool asRoot)
{
    const std::string map = "0 " + std::to_string(getuid()) + " 1";
    if (unshare(CLONE_NEWUSER) != 0) {
        return false;
    }
    if (asRoot) {
        prctl(PR_SET_DUMPABLE, 1);  // its files in /proc would be root's otherwise
        return static_cast<bool>(std::ofstream("/proc/self/uid_map") << map << std::flush);
    }
    return true;
}

/// Continues in a child, the first process of its namespace. Its parent waits for it.
bool EnterProcessNamespace()
{
    if (unshare(CLONE_NEWPID) != 0) {
        return false;
    }
    const pid_t child = fork();
    Check(child >= 0, "fork");
    if (child > 0) {
        int status = 0;
        waitpid(child, &status, 0);
        _exit(WIFEXITED(status) ? WEXITSTATUS(status) : 1);
    }
    return true;
}

int Run(int argc, char** argv)
{
    Check(argc >= 5, "usage: as_user USER GROUP NAMESPACES PROGRAM ARGUMENT...");
    const std::string namespaces = argv[3];
    EndWithParent();
    const int program = open(argv[4], O_RDONLY | O_CLOEXEC);
    Check(program >= 0, argv[4]);
    bool isAllowed = namespaces != "pids" || EnterProcessNamespace();
    Become(static_cast<uid_t>(std::stoul(argv[1])), static_cast<gid_t>(std::stoul(argv[2])));
    if (namespaces == "users" || namespaces == "root") {
        isAllowed = EnterUserNamespace(namespaces == "root");
    }
    if (!isAllowed) {
        return kNotAllowed;
    }
    EndWithParent();  // the kernel has forgotten it with the change of the user
    fexecve(program, argv + 4, environ);
    throw std::runtime_error("exec");
}

}  // namespace

int main(int argc, char** argv)
{
    try {
        return Run(argc, argv);
    } catch (const std::exception& error) {
        std::perror(error.what());
        return 1;
    }
}
