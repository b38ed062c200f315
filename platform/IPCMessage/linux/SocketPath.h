// The socket's path for a pipe name.
#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <optional>
#include <string>
#include <vector>

namespace pelacon::ipc {

/// A folder for sockets.
struct SocketFolder {
    std::string path;
    bool ofSystem = false;  ///< for a service of all users
};

/// The folders to look into, in this order: $PELACON_RUNTIME_DIR alone if it is set, otherwise the
/// system's, then the user's.
std::vector<SocketFolder> SocketFolders();

/// "\\.\Pipe\KvPelaconService" -> "KvPelaconService"; nothing if the name is empty or has
/// characters that are not allowed in it.
std::optional<std::string> SocketBaseName(const std::wstring& pipeName);

struct SocketAddress {
    sockaddr_un address{};
    socklen_t length = 0;

    const sockaddr* Get() const noexcept { return reinterpret_cast<const sockaddr*>(&address); }
};

/// Nothing if the path is too long for an address.
std::optional<SocketAddress> MakeSocketAddress(const std::string& path);

}  // namespace pelacon::ipc
