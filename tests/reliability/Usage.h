// What a process uses.
#pragma once

#include <cstdint>
#include <iosfwd>

namespace pelacon::test {

struct Usage {
    std::size_t descriptors = 0;
    std::size_t threads = 0;
    std::size_t memory = 0;  ///< resident, in KiB
};
std::ostream& operator<<(std::ostream& out, const Usage& usage);

/// What the process uses. Throws std::filesystem::filesystem_error if there is no such process.
Usage UsageNow(std::uint32_t processId);

/// What the process uses once connections that have ended are cleared away: when the numbers have
/// not changed for a while. Throws as UsageNow does.
Usage UsageOf(std::uint32_t processId);

/// Prints both, and expects that the process uses no more than before.
void ExpectNoGrowth(std::uint32_t processId, const Usage& before);

}  // namespace pelacon::test
