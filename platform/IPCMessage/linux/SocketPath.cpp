#include "SocketPath.h"

#include <IPCMessage/Transport.h>
#include <os/Environment.h>

#include <algorithm>
#include <string_view>

namespace pelacon::ipc {

std::vector<SocketFolder> SocketFolders()
{
    if (const auto chosen = os::EnvironmentVariable("PELACON_RUNTIME_DIR");
        chosen && !chosen->empty()) {
        return {{*chosen, false}};
    }
    std::vector<SocketFolder> folders{{"/run/pelacon", true}};
    if (const auto ofUser = os::EnvironmentVariable("XDG_RUNTIME_DIR");
        ofUser && !ofUser->empty()) {
        folders.push_back({*ofUser + "/pelacon", false});
    }
    return folders;
}

std::optional<std::string> SocketBaseName(const std::wstring& pipeName)
{
    static constexpr std::wstring_view kAllowed =
        L"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_.";
    const std::wstring wide = pipeName.substr(pipeName.find_last_of(L'\\') + 1);
    if (wide.empty() || wide.front() == L'.' ||
        wide.find_first_not_of(kAllowed) != std::wstring::npos) {
        return std::nullopt;
    }
    std::string narrow(wide.size(), '\0');
    std::transform(wide.begin(), wide.end(), narrow.begin(),
                   [](wchar_t character) { return static_cast<char>(character); });
    return narrow;
}

std::optional<SocketAddress> MakeSocketAddress(const std::string& path)
{
    SocketAddress made;
    if (path.size() >= sizeof(made.address.sun_path)) {
        return std::nullopt;
    }
    made.address.sun_family = AF_UNIX;
    path.copy(made.address.sun_path, path.size());
    made.length = static_cast<socklen_t>(sizeof(made.address));
    return made;
}

PipePlaces FindPipePlaces(const std::wstring& pipeName)
{
    PipePlaces places;
    if (const auto name = SocketBaseName(pipeName)) {
        for (const SocketFolder& folder : SocketFolders()) {
            places.push_back(folder.path + "/" + *name + ".sock");
        }
    }
    return places;
}

}  // namespace pelacon::ipc
