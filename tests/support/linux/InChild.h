// What happens in a child that fork makes of a test.
#pragma once

#include <sys/wait.h>
#include <unistd.h>

namespace pelacon::test {

/// The exit code of a child process, or the negative number of the signal that ended it.
inline int ExitCode(pid_t child)
{
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

/// The exit code of a forked child that runs the action: by convention the number of its failures.
/// A child that hangs ends with SIGALRM.
template <typename Action>
int InChild(const Action& action)
{
    const pid_t child = fork();
    if (child == 0) {
        alarm(20);
        _exit(action());
    }
    return ExitCode(child);
}

}  // namespace pelacon::test
