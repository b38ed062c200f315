#include <os/Environment.h>
#include <os/StandardStreams.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

namespace pelacon::os {

namespace {

/// Whether it is the socket that leads to the journal, as systemd says which one does.
bool IsJournal(const struct stat& status)
{
    return EnvironmentVariable("JOURNAL_STREAM") ==
           std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
}

}  // namespace

void OpenMissingStandardStreams() noexcept
{
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
        if (fcntl(stream, F_GETFD) < 0) {
            open("/dev/null", O_RDWR);  // the lowest free number, so this one
        }
    }
}

bool IsStandardErrorForLogs()
{
    struct stat status {};
    return fstat(STDERR_FILENO, &status) == 0 &&
           (S_ISREG(status.st_mode) || S_ISCHR(status.st_mode) || S_ISFIFO(status.st_mode) ||
            IsJournal(status));
}

bool WriteToStandardError(std::string_view text) noexcept
{
    while (!text.empty()) {
        const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
        if (written > 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (written < 0 && errno == EAGAIN) {
            pollfd room{STDERR_FILENO, POLLOUT, 0};
            poll(&room, 1, -1);
        } else if (written < 0 && errno != EINTR) {
            return false;
        }
    }
    return true;
}

}  // namespace pelacon::os
