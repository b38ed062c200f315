// The stand-in for the process list.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace pelacon::test {

/// The processes that the library finds. By default the service is one of them.
class Processes {
  public:
    struct Process {
        std::uint32_t id;
        std::string path;
        std::wstring name;
    };

    static constexpr std::uint32_t kOwnId = 4242;
    static constexpr const char* kServicePath = "/opt/Karvell/libexec/PelaconService";

    static void Set(std::vector<Process> processes);
    /// Listing the processes fails.
    static void FailSnapshots();
    /// The paths that the library visited since the last Reset.
    static std::vector<std::string> Visited();
    static void Reset();
};

}  // namespace pelacon::test
