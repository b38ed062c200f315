#include <tests/platform/IPCMessage/Surroundings.h>

#include <signal.h>
#include <sys/wait.h>

#include <filesystem>
#include <iterator>

namespace pelacon::test {

namespace {

std::size_t EntriesOf(const char* folder)
{
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder),
                                                  std::filesystem::directory_iterator()));
}

}  // namespace

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
    waitpid(static_cast<pid_t>(processId), &status, WUNTRACED);  // it is stopped from now on
}

void ResumeProcess(std::uint32_t processId)
{
    kill(static_cast<pid_t>(processId), SIGCONT);
}

}  // namespace pelacon::test
