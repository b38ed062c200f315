// Where the socket of a pipe name lies.
#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace pelacon::ipc {

/// A folder that sockets may lie in.
struct SocketFolder {
    std::string path;
    bool ofSystem = false;  ///< for a service that all users share
};

/// The folders to look at, best first: $PELACON_RUNTIME_DIR and nothing else where it is set,
/// otherwise the system's, then the user's own.
std::vector<SocketFolder> SocketFolders();

/// "\\.\Pipe\KvPelaconService" -> "KvPelaconService"; nothing if the name is empty or has
/// characters that a plain file name should not have.
std::optional<std::string> SocketBaseName(const std::wstring& pipeName);

struct SocketAddress {
    sockaddr_un address{};
    socklen_t length = 0;

    const sockaddr* Get() const noexcept { return reinterpret_cast<const sockaddr*>(&address); }
};

/// Nothing if the path is too long for an address.
std::optional<SocketAddress> MakeSocketAddress(const std::string& path);

}  // namespace pelacon::ipc
