#include <tests/reliability/Usage.h>
#include <tests/support/Eventually.h>

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <thread>

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

Usage UsageNow(std::uint32_t processId)
{
    const fs::path process = fs::path("/proc") / std::to_string(processId);
    return {EntriesIn(process / "fd"), EntriesIn(process / "task"),
            Field(process / "status", "VmRSS")};
}

std::ostream& operator<<(std::ostream& out, const Usage& usage)
{
    return out << usage.descriptors << " descriptors, " << usage.threads << " threads, "
               << usage.memory << " KiB";
}

Usage UsageOf(std::uint32_t processId)
{
    constexpr int kReadings = 20;
    Usage last = UsageNow(processId);
    int same = 0;
    EXPECT_TRUE(Eventually([&] {
        const Usage usage = UsageNow(processId);
        const bool isSame = usage.descriptors == last.descriptors && usage.threads == last.threads;
        same = isSame ? same + 1 : 0;
        last = usage;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        return same == kReadings;
    }));
    return last;
}

void ExpectNoGrowth(std::uint32_t processId, const Usage& before)
{
    // Right after a loss the client's four threads have no connections yet, the one of
    // notifications may be missing, too, and in the service the thread of its queue.
    constexpr std::size_t kConnections = 6;
    // Pages that an allocator keeps, in KiB. A sanitizer keeps far more.
    constexpr std::size_t kMemoryRoom = PELACON_MEMORY_ROOM;
    const Usage after = UsageOf(processId);
    std::cout << "  before: " << before << "\n  after:  " << after << std::endl;
    EXPECT_LE(after.descriptors, before.descriptors + kConnections);
    EXPECT_LE(after.threads, before.threads + kConnections);
    EXPECT_LE(after.memory, before.memory + kMemoryRoom);
}

}  // namespace pelacon::test
