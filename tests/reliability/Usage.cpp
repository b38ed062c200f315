#include <tests/reliability/Usage.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <string>

namespace pelacon::test {

namespace {

namespace fs = std::filesystem;

std::size_t EntriesIn(const fs::path& folder)
{
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

/// A number of /proc/PID/status.
std::size_t Field(const fs::path& status, const std::string& name)
{
    std::ifstream stream(status);
    std::string word;
    while (stream >> word) {
        std::size_t number = 0;
        if (word == name + ":" && stream >> number) {
            return number;
        }
    }
    return 0;
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const Usage& usage)
{
    return out << usage.descriptors << " descriptors, " << usage.threads << " threads, "
               << usage.memory << " KiB";
}

Usage UsageOf(std::uint32_t processId)
{
    const fs::path process = fs::path("/proc") / std::to_string(processId);
    return {EntriesIn(process / "fd"), EntriesIn(process / "task"),
            Field(process / "status", "VmRSS")};
}

}  // namespace pelacon::test
