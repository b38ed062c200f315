// The process list's stand-in.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace pelacon::test {

/// The processes that the library believes to be running. The service is one of them unless a test
/// says otherwise.
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
    /// No list of processes can be taken.
    static void FailSnapshots();
    /// The paths that the library looked at since the last Reset.
    static std::vector<std::string> Visited();
    static void Reset();
};

}  // namespace pelacon::test
