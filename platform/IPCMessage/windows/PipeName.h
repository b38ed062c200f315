// The name of a pipe and the folder of its files.
#pragma once

#include <optional>
#include <string>

namespace pelacon::ipc {

/// A pipe and the folder of the files that belong to it.
struct PipePlace {
    std::string pipe;    ///< full name of the pipe, such as "\\.\Pipe\KvPelaconService"
    std::string folder;  ///< of the lock and the state, in UTF-8
    std::string base;    ///< the last part of the name
};

/// Where PELACON_RUNTIME_DIR is set, its value is the folder, and the pipe's name ends with a hash
/// of it. Otherwise the pipe has the given name, and the folder is in the user's local application
/// data. Nothing if the name is unusable.
std::optional<PipePlace> FindPipePlace(const std::wstring& pipeName);

}  // namespace pelacon::ipc
