// Where the pipe of a name lies, and what lies beside it.
#pragma once

#include <optional>
#include <string>

namespace pelacon::ipc {

/// A pipe and the folder of the files that belong to it.
struct PipePlace {
    std::string pipe;    ///< full name of the pipe, such as "\\.\Pipe\KvPelaconService"
    std::string folder;  ///< where its lock and its state lie
    std::string base;    ///< the name without what stands before it
};

/// $PELACON_RUNTIME_DIR, where it is set, gives the pipe a name of its own (the folder's hash
/// behind the name) and is the folder; otherwise the pipe goes by its name, and the folder lies in
/// the user's local application data. Nothing if the name is unusable.
std::optional<PipePlace> FindPipePlace(const std::wstring& pipeName);

}  // namespace pelacon::ipc
