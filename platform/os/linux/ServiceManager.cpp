#include <os/Environment.h>
#include <os/ServiceManager.h>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace pelacon::os {

bool NotifyReady()
{
    constexpr std::string_view kReady = "READY=1";
    const std::optional<std::string> path = EnvironmentVariable("NOTIFY_SOCKET");
    if (!path) {
        return true;
    }
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path->empty() || path->size() > sizeof address.sun_path) {
        return false;
    }
    path->copy(address.sun_path, path->size());
    if (address.sun_path[0] == '@') {
        address.sun_path[0] = '\0';  // an abstract socket
    }
    const int notification = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (notification < 0) {
        return false;
    }
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + path->size());
    const ssize_t sent = sendto(notification, kReady.data(), kReady.size(), MSG_NOSIGNAL,
                                reinterpret_cast<const sockaddr*>(&address), size);
    close(notification);
    return sent == static_cast<ssize_t>(kReady.size());
}

}  // namespace pelacon::os
