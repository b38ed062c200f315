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

/// Throws std::filesystem::filesystem_error if there is no such process.
Usage UsageOf(std::uint32_t processId);

}  // namespace pelacon::test
