#include <tests/platform/IPCMessage/Fixture.h>
#include <tests/platform/IPCMessage/Surroundings.h>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <system_error>

namespace pelacon::test {

namespace {

[[noreturn]] void Fail(const char* what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

std::size_t EntriesOf(const char* folder)
{
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder),
                                                  std::filesystem::directory_iterator()));
}

}  // namespace

RuntimeFolder::RuntimeFolder()
{
    std::string pattern = std::filesystem::temp_directory_path() / "channel-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
        Fail("mkdtemp");
    }
    path_ = pattern;
    setenv("PELACON_RUNTIME_DIR", path_.c_str(), 1);
}

RuntimeFolder::~RuntimeFolder()
{
    unsetenv("PELACON_RUNTIME_DIR");
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::size_t OpenDescriptors()
{
    return EntriesOf("/proc/self/fd");
}

std::size_t RunningThreads()
{
    return EntriesOf("/proc/self/task");
}

struct PeerProcess::State {
    ~State()
    {
        close(input);
        close(output);
    }

    pid_t process = -1;
    int input = -1;
    int output = -1;
    std::string unread;
    std::optional<int> exitCode;
};

PeerProcess::PeerProcess(const std::string& role, const std::vector<std::string>& arguments)
    : state_(std::make_unique<State>())
{
    int input[2];
    int output[2];
    if (pipe2(input, O_CLOEXEC) != 0 || pipe2(output, O_CLOEXEC) != 0) {
        Fail("pipe2");
    }
    state_->input = input[1];
    state_->output = output[0];
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    std::vector<char*> words{const_cast<char*>(CHANNEL_PEER), const_cast<char*>(role.c_str())};
    for (const std::string& argument : arguments) {
        words.push_back(const_cast<char*>(argument.c_str()));
    }
    words.push_back(nullptr);
    const int error =
        posix_spawn(&state_->process, CHANNEL_PEER, &actions, nullptr, words.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(input[0]);
    close(output[1]);
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), CHANNEL_PEER);
    }
}

PeerProcess::~PeerProcess()
{
    if (!state_->exitCode) {
        kill(state_->process, SIGKILL);
        waitpid(state_->process, nullptr, 0);
    }
}

std::string PeerProcess::ReadLine()
{
    for (;;) {
        if (const auto end = state_->unread.find('\n'); end != std::string::npos) {
            std::string line = state_->unread.substr(0, end);
            state_->unread.erase(0, end + 1);
            return line;
        }
        pollfd one{state_->output, POLLIN, 0};
        if (poll(&one, 1, static_cast<int>(kLongEnough.count())) <= 0) {
            throw std::runtime_error("the peer process wrote nothing");
        }
        char text[256];
        const ssize_t size = read(state_->output, text, sizeof text);
        if (size <= 0) {
            throw std::runtime_error("the peer process ended");
        }
        state_->unread.append(text, static_cast<std::size_t>(size));
    }
}

void PeerProcess::CloseInput()
{
    close(std::exchange(state_->input, -1));
}

void PeerProcess::Kill()
{
    kill(state_->process, SIGKILL);
}

int PeerProcess::WaitForExit()
{
    int status = 0;
    if (!Eventually([&] { return waitpid(state_->process, &status, WNOHANG) != 0; })) {
        throw std::runtime_error("the peer process does not end");
    }
    state_->exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    return *state_->exitCode;
}

unsigned PeerProcess::Id() const
{
    return static_cast<unsigned>(state_->process);
}

void PeerProcess::Suspend()
{
    int status = 0;
    kill(state_->process, SIGSTOP);
    waitpid(state_->process, &status, WUNTRACED);  // it stands still from then on
}

void PeerProcess::Resume()
{
    kill(state_->process, SIGCONT);
}

}  // namespace pelacon::test
