#include <bench/Bare.h>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace pelacon::bench {

namespace {

int Checked(int result, const char* what)
{
    if (result < 0) {
        throw std::system_error(errno, std::generic_category(), what);
    }
    return result;
}

BareSocket Open()
{
    return BareSocket(Checked(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket"));
}

sockaddr_un AddressOf(const std::string& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    return address;
}

const sockaddr* Generic(const sockaddr_un& address)
{
    return reinterpret_cast<const sockaddr*>(&address);
}

}  // namespace

BareSocket::~BareSocket()
{
    if (descriptor_ >= 0) {
        close(descriptor_);
    }
}

BareSocket::BareSocket(BareSocket&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1))
{}

BareSocket BareSocket::Connect(const std::string& path, const BareJob& job)
{
    BareSocket socket = Open();
    const sockaddr_un address = AddressOf(path);
    Checked(connect(socket.descriptor_, Generic(address), sizeof address), "connect");
    socket.Write({reinterpret_cast<const std::uint8_t*>(&job), sizeof job});
    return socket;
}

BareSocket BareSocket::Listen(const std::string& path)
{
    BareSocket socket = Open();
    const sockaddr_un address = AddressOf(path);
    Checked(bind(socket.descriptor_, Generic(address), sizeof address), "bind");
    Checked(listen(socket.descriptor_, SOMAXCONN), "listen");
    return socket;
}

BareSocket BareSocket::Accept() const
{
    return BareSocket(Checked(accept(descriptor_, nullptr, nullptr), "accept"));
}

bool BareSocket::Write(std::span<const std::uint8_t> bytes) const
{
    while (!bytes.empty()) {
        const ssize_t size = write(descriptor_, bytes.data(), bytes.size());
        if (size <= 0) {
            return false;
        }
        bytes = bytes.subspan(static_cast<std::size_t>(size));
    }
    return true;
}

bool BareSocket::Read(std::span<std::uint8_t> bytes) const
{
    while (!bytes.empty()) {
        const ssize_t size = read(descriptor_, bytes.data(), bytes.size());
        if (size <= 0) {
            return false;
        }
        bytes = bytes.subspan(static_cast<std::size_t>(size));
    }
    return true;
}

void BareSocket::Shutdown() const
{
    shutdown(descriptor_, SHUT_RDWR);
}

}  // namespace pelacon::bench
