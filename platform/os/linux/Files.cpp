#include <os/Environment.h>
#include <os/Files.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

namespace pelacon::os {

namespace {

bool WriteAll(int descriptor, std::string_view text) noexcept
{
    while (!text.empty()) {
        const ssize_t written = write(descriptor, text.data(), text.size());
        if (written > 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (written < 0 && errno == EAGAIN) {
            pollfd room{descriptor, POLLOUT, 0};
            poll(&room, 1, -1);
        } else if (written < 0 && errno != EINTR) {
            return false;
        }
    }
    return true;
}

/// Whether it is the socket that leads to the journal, as systemd says which one does.
bool IsJournal(const struct stat& status)
{
    return EnvironmentVariable("JOURNAL_STREAM") ==
           std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
}

[[noreturn]] void Fail(const std::string& path)
{
    throw std::system_error(errno, std::generic_category(), path);
}

}  // namespace

void SaveFile(const std::string& path, std::string_view contents)
{
    const std::string next = path + ".next";
    const int file = open(next.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW,
                          S_IRUSR | S_IWUSR);
    if (file < 0) {
        Fail(next);
    }
    const bool written = WriteAll(file, contents) && fsync(file) == 0;
    const int error = errno;
    close(file);
    if (!written) {
        errno = error;
        Fail(next);
    }
    if (std::rename(next.c_str(), path.c_str()) != 0) {
        Fail(path);
    }
}

std::FILE* OpenToAppend(const std::string& path)
{
    const int opened = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    if (opened < 0) {
        return nullptr;
    }
    // Not with the number of a standard stream that is closed: what is printed there is no log.
    const int file = fcntl(opened, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    close(opened);
    std::FILE* const stream = file >= 0 ? fdopen(file, "a") : nullptr;
    if (stream == nullptr && file >= 0) {
        close(file);
    }
    return stream;
}

bool IsOpenForWriting(int descriptor) noexcept
{
    const int flags = fcntl(descriptor, F_GETFL);
    return flags >= 0 && (flags & O_ACCMODE) != O_RDONLY;
}

bool WriteAndClose(int descriptor, std::string_view text)
{
    const bool written = WriteAll(descriptor, text);
    if (descriptor > STDERR_FILENO) {
        close(descriptor);
    } else if (const int null = open("/dev/null", O_RDWR | O_CLOEXEC); null >= 0) {
        dup2(null, descriptor);
        close(null);
    }
    return written;
}

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
    return WriteAll(STDERR_FILENO, text);
}

}  // namespace pelacon::os
