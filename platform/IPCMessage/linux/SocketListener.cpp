#include "Descriptor.h"
#include "SocketConnection.h"
#include "SocketPath.h"

#include <IPCMessage/IPCMessageServer.h>
#include <IPCMessage/Transport.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>

namespace pelacon::ipc {

namespace {

/// Connections that may wait to be accepted; more than one client opens at once.
constexpr int kBacklog = 128;

/// How long to wait when the system is out of descriptors or memory.
constexpr int kExhaustedPauseMs = 50;

[[noreturn]] void Fail(const std::string& what)
{
    throw IPCServerError(what + ": " + std::generic_category().message(errno));
}

/// The folder to listen in: the first that this process may own a socket in.
SocketFolder ChooseFolder()
{
    for (const SocketFolder& folder : SocketFolders()) {
        if (!folder.ofSystem || geteuid() == 0 || access(folder.path.c_str(), W_OK) == 0) {
            return folder;
        }
    }
    throw IPCServerError(
        "there is no folder to listen in: neither PELACON_RUNTIME_DIR nor XDG_RUNTIME_DIR is set");
}

void PrepareFolder(const SocketFolder& folder)
{
    const mode_t mode = folder.ofSystem ? 0755 : 0700;
    if (mkdir(folder.path.c_str(), mode) == 0) {
        chmod(folder.path.c_str(), mode);
    } else if (errno != EEXIST) {
        Fail("cannot create the folder " + folder.path);
    }
}

class SocketListener final : public Listener {
  public:
    explicit SocketListener(const std::wstring& pipeName)
    {
        const auto name = SocketBaseName(pipeName);
        if (!name) {
            throw IPCServerError(
                "the pipe's name is empty or has characters other than letters, "
                "digits, '-', '_' and '.'");
        }
        const SocketFolder folder = ChooseFolder();
        const std::string base = folder.path + "/" + *name;
        ofSystem_ = folder.ofSystem;
        path_ = base + ".sock";
        stateFile_ = base + ".state";
        const auto address = MakeSocketAddress(path_);
        if (!address) {
            throw IPCServerError("the socket's path is too long: " + path_);
        }
        PrepareFolder(folder);
        Lock(base + ".lock");
        Bind(*address);
    }

    ~SocketListener() override { Close(); }

    std::unique_ptr<Connection> Accept() override
    {
        for (;;) {
            pollfd waits[] = {{socket_.Get(), POLLIN, 0}, {stop_.Get(), POLLIN, 0}};
            if (poll(waits, 2, -1) < 0 && errno != EINTR) {
                return nullptr;
            }
            if (!socket_ || waits[1].revents != 0) {
                return nullptr;
            }
            int error = 0;
            auto connection = std::make_unique<SocketConnection>([&] {
                const int accepted = accept4(socket_.Get(), nullptr, nullptr, SOCK_CLOEXEC);
                error = errno;
                return accepted;
            });
            if (connection->IsOpen()) {
                return connection;
            }
            if (error == EMFILE || error == ENFILE || error == ENOMEM || error == ENOBUFS) {
                poll(&waits[1], 1, kExhaustedPauseMs);
            }
        }
    }

    bool Admits(const Peer& peer) const override
    {
        // Whom a system's service serves is up to the mode and group of its socket. A process that
        // has no number here, since it lives in another container, cannot be told from others.
        return peer.processId != 0 && (peer.isOperator || ofSystem_);
    }

    void Shutdown() noexcept override { eventfd_write(stop_.Get(), 1); }

    void Close() noexcept override
    {
        if (socket_) {              // not in a child that fork made
            unlink(path_.c_str());  // nobody else's, while we have the lock
            socket_.Close();
        }
    }

    const std::string& Address() const noexcept override { return path_; }
    const std::string& StateFile() const noexcept override { return stateFile_; }

  private:
    void Lock(const std::string& path)
    {
        if (!lock_.Take([&] {
                return open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
            })) {
            Fail("cannot create " + path);
        }
        if (flock(lock_.Get(), LOCK_EX | LOCK_NB) != 0) {
            if (errno == EWOULDBLOCK) {
                throw IPCServerError("another service is listening on " + path_);
            }
            Fail("cannot lock " + path);
        }
    }

    void Bind(const SocketAddress& address)
    {
        if (!stop_.Take([] { return eventfd(0, EFD_CLOEXEC); })) {
            Fail("cannot create an event");
        }
        if (!socket_.Take(
                [] { return socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0); })) {
            Fail("cannot create a socket");
        }
        // We have the lock, so what lies there is of a service that has died.
        if (unlink(path_.c_str()) != 0 && errno != ENOENT) {
            Fail("cannot remove the stale socket " + path_);
        }
        // The socket's file inherits this mode, so it is never open to more users than in the end.
        const mode_t mode = ofSystem_ ? 0660 : 0600;
        if (fchmod(socket_.Get(), mode) != 0 ||
            bind(socket_.Get(), address.Get(), address.length) != 0) {
            Fail("cannot create the socket " + path_);
        }
        chmod(path_.c_str(), mode);
        if (listen(socket_.Get(), kBacklog) != 0) {
            Fail("cannot listen on " + path_);
        }
    }

    bool ofSystem_ = false;
    std::string path_;
    std::string stateFile_;
    Descriptor lock_;
    Descriptor stop_;
    Descriptor socket_;
};

}  // namespace

std::unique_ptr<Listener> Listen(const std::wstring& pipeName)
{
    return std::make_unique<SocketListener>(pipeName);
}

}  // namespace pelacon::ipc
