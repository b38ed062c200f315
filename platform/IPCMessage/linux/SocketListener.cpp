#include "Descriptor.h"
#include "SocketConnection.h"
#include "SocketPath.h"
#include "Users.h"

#include <IPCMessage/IPCMessageServer.h>
#include <IPCMessage/Transport.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/auxv.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <string>
#include <system_error>
#include <utility>

namespace pelacon::ipc {

namespace {

/// Connections that may wait to be accepted; a client opens several at once.
constexpr int kBacklog = 128;

/// How long to wait when the system is out of descriptors or memory.
constexpr int kExhaustedPauseMs = 50;

/// How often to look whether the socket's file is still there.
constexpr int kLookAgainMs = 2000;

/// File descriptors that the process uses for other things than connections.
constexpr std::size_t kOtherDescriptors = 64;

[[noreturn]] void Fail(const std::string& what)
{
    throw IPCServerError(what + ": " + std::generic_category().message(errno));
}

/// The folder to listen in: the first in which this process may create a socket.
SocketFolder ChooseFolder()
{
    for (const SocketFolder& folder : SocketFolders()) {
        if (!folder.ofSystem || geteuid() == 0 || access(folder.path.c_str(), W_OK) == 0) {
            return folder;
        }
    }
    if (getauxval(AT_SECURE) != 0) {
        throw IPCServerError(
            "there is no folder to listen in: this program has more rights than the user who "
            "started it, by file capabilities or set-user-id, and therefore ignores "
            "PELACON_RUNTIME_DIR and XDG_RUNTIME_DIR");
    }
    throw IPCServerError(
        "there is no folder to listen in: neither PELACON_RUNTIME_DIR nor XDG_RUNTIME_DIR is set");
}

/// Gives the file this mode, whatever the umask. Another file that a link leads to, which somebody
/// may have put in its place, keeps its own.
void SetMode(const std::string& path, mode_t mode)
{
    fchmodat(AT_FDCWD, path.c_str(), mode, AT_SYMLINK_NOFOLLOW);
}

/// Refuses a folder in which another user could replace the files of this service.
void CheckFolder(const std::string& path)
{
    struct stat status {};
    for (const int what : {AT_SYMLINK_NOFOLLOW, 0}) {  // if it is a link, the link as well
        if (fstatat(AT_FDCWD, path.c_str(), &status, what) != 0) {
            Fail("cannot use the folder " + path);
        }
        if (!IsTrusted(status.st_uid)) {
            throw IPCServerError(path +
                                 ": it may belong to another user, who could replace the socket");
        }
    }
    if ((status.st_mode & S_IWOTH) != 0 && (status.st_mode & S_ISVTX) == 0) {
        throw IPCServerError(path + ": all users can delete files in it, and replace the socket");
    }
}

void PrepareFolder(const SocketFolder& folder)
{
    const mode_t mode = folder.ofSystem ? 0755 : 0700;
    if (mkdir(folder.path.c_str(), mode) == 0) {
        SetMode(folder.path, mode);
    } else if (errno != EEXIST) {
        Fail("cannot create the folder " + folder.path);
    }
    CheckFolder(folder.path);
}

/// Differs between any two files; zeros stand for no file.
struct FileIdentity {
    dev_t device = 0;
    ino_t number = 0;

    bool operator==(const FileIdentity&) const = default;
};

FileIdentity FileAt(const std::string& path)
{
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 ? FileIdentity{status.st_dev, status.st_ino}
                                             : FileIdentity{};
}

FileIdentity FileOf(int descriptor)
{
    struct stat status {};
    return fstat(descriptor, &status) == 0 ? FileIdentity{status.st_dev, status.st_ino}
                                           : FileIdentity{};
}

class SocketListener final : public Listener {
  public:
    SocketListener(const std::wstring& pipeName, Warn warn) : warn_(std::move(warn))
    {
        const auto name = SocketBaseName(pipeName);
        if (!name) {
            throw IPCServerError(
                "the pipe's name is empty or has characters other than letters, "
                "digits, '-', '_' and '.'");
        }
        folder_ = ChooseFolder();
        const std::string base = folder_.path + "/" + *name;
        path_ = base + ".sock";
        lockFile_ = base + ".lock";
        stateFile_ = base + ".state";
        const auto address = MakeSocketAddress(path_);
        if (!address) {
            throw IPCServerError("the socket's path is too long: " + path_);
        }
        address_ = *address;
        if (!stop_.Take([] { return eventfd(0, EFD_CLOEXEC); })) {
            Fail("cannot create an event");
        }
        TakePlace();
        TakeSpare();
    }

    ~SocketListener() override { Close(); }

    std::unique_ptr<Connection> Accept() override
    {
        for (;;) {
            TakeSpare();  // one that was turned away may have taken it
            pollfd waits[] = {{socket_->Get(), POLLIN, 0}, {stop_.Get(), POLLIN, 0}};
            const int ready = poll(waits, 2, kLookAgainMs);
            if ((ready < 0 && errno != EINTR) || !*socket_ || waits[1].revents != 0) {
                return nullptr;
            }
            if (ready <= 0) {
                KeepPlace();
                continue;
            }
            int error = 0;
            auto connection = TryAccept(error);
            if ((error == EMFILE || error == ENFILE) && spare_) {
                spare_.Close();
                connection = TryAccept(error);
            }
            if (connection) {
                return connection;
            }
            if (error == EMFILE || error == ENFILE || error == ENOMEM || error == ENOBUFS) {
                poll(&waits[1], 1, kExhaustedPauseMs);
            }
        }
    }

    bool Admits(const Peer& peer) const override
    {
        // Mode and group of its socket say which users a system's service serves. Processes in
        // another process namespace have no id here and could not be distinguished.
        return peer.processId != 0 && (peer.isOperator || folder_.ofSystem);
    }

    std::size_t MostConnections() const noexcept override
    {
        rlimit limit{};
        getrlimit(RLIMIT_NOFILE, &limit);
        return limit.rlim_cur - std::min<rlim_t>(limit.rlim_cur, kOtherDescriptors);
    }

    bool HasRoom() override { return TakeSpare(); }

    void Shutdown() noexcept override { eventfd_write(stop_.Get(), 1); }

    void Close() noexcept override
    {
        if (*socket_) {                    // not in a child that fork made
            if (FileAt(path_) == file_) {  // not of a service that has taken the place since
                unlink(path_.c_str());
            }
            socket_->Close();
        }
    }

    const std::string& Address() const noexcept override { return path_; }
    const std::string& StateFile() const noexcept override { return stateFile_; }

  private:
    bool TakeSpare()
    {
        return spare_ || spare_.Take([] { return open("/dev/null", O_RDONLY | O_CLOEXEC); });
    }

    std::unique_ptr<SocketConnection> TryAccept(int& error)
    {
        auto connection = std::make_unique<SocketConnection>([&] {
            const int accepted = accept4(socket_->Get(), nullptr, nullptr, SOCK_CLOEXEC);
            error = errno;
            return accepted;
        });
        return connection->IsOpen() ? std::move(connection) : nullptr;
    }

    /// Takes lock and socket, unless they are this listener's still.
    void TakePlace()
    {
        PrepareFolder(folder_);
        if (!lock_ || FileAt(lockFile_) != FileOf(lock_->Get())) {
            lock_ = Lock();
        }
        if (!socket_ || FileAt(path_) != file_) {
            socket_ = Bind();
            file_ = FileAt(path_);
        }
    }

    /// Makes the socket's file again where somebody deleted it: no client would find this service.
    void KeepPlace()
    {
        if (FileAt(path_) == file_ && FileAt(lockFile_) == FileOf(lock_->Get())) {
            lastReport_.clear();
            return;
        }
        std::string report = "the socket " + path_ + " or its lock was deleted: made again";
        try {
            TakePlace();
        } catch (const IPCServerError& failure) {
            report = "the socket " + path_ + " was deleted: " + failure.what();
        }
        if (warn_ && report != lastReport_) {
            warn_(report);
        }
        lastReport_ = report;
    }

    std::unique_ptr<Descriptor> Lock() const
    {
        auto lock = std::make_unique<Descriptor>();
        if (!lock->Take([&] {
                return open(lockFile_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
            })) {
            Fail("cannot create " + lockFile_);
        }
        if (flock(lock->Get(), LOCK_EX | LOCK_NB) != 0) {
            if (errno == EWOULDBLOCK) {
                throw IPCServerError("another service is listening on " + path_);
            }
            Fail("cannot lock " + lockFile_);
        }
        return lock;
    }

    std::unique_ptr<Descriptor> Bind() const
    {
        auto made = std::make_unique<Descriptor>();
        if (!made->Take(
                [] { return socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0); })) {
            Fail("cannot create a socket");
        }
        // This process has the lock, so the file belongs to a service that was killed.
        if (unlink(path_.c_str()) != 0 && errno != ENOENT) {
            Fail("cannot remove the stale socket " + path_);
        }
        // The socket's file inherits this mode, so there is no moment at which others may open it.
        const mode_t mode = folder_.ofSystem ? 0660 : 0600;
        if (fchmod(made->Get(), mode) != 0 ||
            bind(made->Get(), address_.Get(), address_.length) != 0) {
            Fail("cannot create the socket " + path_);
        }
        SetMode(path_, mode);
        if (listen(made->Get(), kBacklog) != 0) {
            Fail("cannot listen on " + path_);
        }
        return made;
    }

    const Warn warn_;
    SocketFolder folder_;
    std::string path_;
    SocketAddress address_;
    std::string lockFile_;
    std::string stateFile_;
    std::string lastReport_;  // what KeepPlace warned of last
    Descriptor stop_;
    std::unique_ptr<Descriptor> lock_;
    std::unique_ptr<Descriptor> socket_;
    FileIdentity file_;  // of the socket
    Descriptor spare_;   // given up to accept a caller that is turned away
};

}  // namespace

std::unique_ptr<Listener> Listen(const std::wstring& pipeName, Warn warn)
{
    return std::make_unique<SocketListener>(pipeName, std::move(warn));
}

}  // namespace pelacon::ipc
