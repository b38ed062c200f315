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
#include <utility>

namespace pelacon::service::linux_radios {

namespace {

/// In the new process, where only functions that are safe in signal handlers may be called.
[[noreturn]] void Become(const char* program, char* const* arguments, pid_t parent)
{
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    const int nothing = open("/dev/null", O_RDWR);
    const bool isReady = nothing >= 0 && dup2(nothing, STDIN_FILENO) >= 0 &&
                         dup2(nothing, STDOUT_FILENO) >= 0 && dup2(nothing, STDERR_FILENO) >= 0;
    if (isReady && getppid() == parent) {  // it has not died before the call of prctl
        execv(program, arguments);
    }
    _exit(ChildProcess::kNotStarted);
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

ChildProcess::ChildProcess(Loop& loop, const std::vector<std::string>& arguments,
                           std::function<void(int code)> ended)
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
    id_ = fork();
    if (id_ == 0) {
        Become(program.c_str(), pointers.data(), parent);
    }
    if (id_ < 0) {
        throw std::system_error(errno, std::generic_category(), "cannot start " + arguments[0]);
    }
    handle_ = FileDescriptor(static_cast<int>(syscall(SYS_pidfd_open, id_, 0)));
    loop_.Add(*this);
}

ChildProcess::~ChildProcess()
{
    if (id_ > 0) {
        loop_.Remove(*this);
        kill(id_, SIGKILL);
        while (waitpid(id_, nullptr, 0) < 0 && errno == EINTR) {
        }
    }
}

void ChildProcess::Terminate() const
{
    if (id_ > 0) {
        kill(id_, SIGTERM);
    }
}

Loop::Interest ChildProcess::Wants()
{
    return {handle_.Get(), POLLIN, std::nullopt};
}

void ChildProcess::Ready(short)
{
    int status = 0;
    if (waitpid(id_, &status, WNOHANG) != id_) {
        return;
    }
    loop_.Remove(*this);
    id_ = -1;
    const auto ended = std::exchange(ended_, nullptr);
    ended(WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status));
}

}  // namespace pelacon::service::linux_radios
