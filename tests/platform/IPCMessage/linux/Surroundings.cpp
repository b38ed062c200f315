#include <tests/platform/IPCMessage/Surroundings.h>

#include <signal.h>
#include <sys/wait.h>

#include <cerrno>
#include <cstdlib>
#include <iterator>
#include <string>
#include <system_error>

namespace pelacon::test {

namespace {

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
        throw std::system_error(errno, std::generic_category(), "mkdtemp");
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

void SuspendProcess(std::uint32_t processId)
{
    int status = 0;
    kill(static_cast<pid_t>(processId), SIGSTOP);
    waitpid(static_cast<pid_t>(processId), &status, WUNTRACED);  // it stands still from then on
}

void ResumeProcess(std::uint32_t processId)
{
    kill(static_cast<pid_t>(processId), SIGCONT);
}

}  // namespace pelacon::test
