#include <service/linux/ChildProcess.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <sstream>
#include <system_error>
#include <thread>
#include <utility>

namespace pelacon::service::linux_radios {

namespace {

/// In the new process, where only functions that are safe in signal handlers may be called.
[[noreturn]] void Become(const char* program, char* const* arguments, const ProcessRights& rights,
                         pid_t parent)
{
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    // Another account would clear the signal. A program that ended by itself might remove what its
    // successor has made in the meantime.
    const bool isRestricted = Restrict(rights);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int nothing = open("/dev/null", O_RDWR);
    const bool isReady = isRestricted && nothing >= 0 && dup2(nothing, STDIN_FILENO) >= 0 &&
                         dup2(nothing, STDOUT_FILENO) >= 0 && dup2(nothing, STDERR_FILENO) >= 0;
    if (isReady && getppid() == parent) {  // it has not died before the call of prctl
        execv(program, arguments);
    }
    _exit(ChildProcess::kNotStarted);
}

/// Waits for the end of a process that was killed: it may be in a driver, for long.
void ReapLater(pid_t id)
{
    try {
        std::thread([id] {
            while (waitpid(id, nullptr, 0) < 0 && errno == EINTR) {
            }
        }).detach();
    } catch (const std::system_error&) {
        // It stays in the list of processes until this one ends.
    }
}

}  // namespace

std::string PathOfProgram(const std::string& name)
{
    if (name.find('/') != std::string::npos) {
        return access(name.c_str(), X_OK) == 0 ? name : "";
    }
    const char* const inherited = std::getenv("PATH");
    std::istringstream folders(std::string(inherited != nullptr ? inherited : "") +
                               ":/usr/local/sbin:/usr/sbin:/sbin");
    for (std::string path; std::getline(folders, path, ':');) {
        const bool isFolder = !path.empty();
        path.append("/").append(name);
        if (isFolder && access(path.c_str(), X_OK) == 0) {
            return path;
        }
    }
    return "";
}

ChildProcess::Process::~Process()
{
    if (id > 0) {
        kill(id, SIGKILL);
        ReapLater(id);
    }
}

ChildProcess::ChildProcess(Loop& loop, const std::vector<std::string>& arguments,
                           const ProcessRights& rights, std::function<void(int code)> ended)
    : loop_(loop), ended_(std::move(ended))
{
    const std::string program = PathOfProgram(arguments[0]);
    std::vector<char*> pointers;
    pointers.reserve(arguments.size() + 1);
    for (const std::string& argument : arguments) {
        pointers.push_back(const_cast<char*>(argument.c_str()));
    }
    pointers.push_back(nullptr);
    const pid_t parent = getpid();
    process_.id = fork();
    if (process_.id == 0) {
        Become(program.c_str(), pointers.data(), rights, parent);
    }
    if (process_.id > 0) {
        handle_ = FileDescriptor(static_cast<int>(syscall(SYS_pidfd_open, process_.id, 0)));
    }
    if (!handle_) {
        throw std::system_error(errno, std::generic_category(), "cannot start " + arguments[0]);
    }
    loop_.Add(*this);
}

ChildProcess::~ChildProcess()
{
    loop_.Remove(*this);
}

void ChildProcess::Terminate() const
{
    if (process_.id > 0) {
        kill(process_.id, SIGTERM);
    }
}

Loop::Interest ChildProcess::Wants()
{
    return {handle_.Get(), POLLIN, std::nullopt};
}

void ChildProcess::Ready(short)
{
    int status = 0;
    if (waitpid(process_.id, &status, WNOHANG) != process_.id) {
        return;
    }
    loop_.Remove(*this);
    process_.id = -1;
    const auto ended = std::exchange(ended_, nullptr);
    ended(WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status));
}

}  // namespace pelacon::service::linux_radios
