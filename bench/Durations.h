// How long calls take.
#pragma once

#include <bench/Bare.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace pelacon::bench {

/// The duration of each call in nanoseconds.
template <typename Call>
std::vector<double> Durations(int calls, Call&& call)
{
    std::vector<double> durations;
    durations.reserve(static_cast<std::size_t>(calls));
    const int warmUp = calls / 20;
    for (int number = -warmUp; number < calls; ++number) {
        const std::int64_t start = Now();
        call(static_cast<std::uint32_t>(number));
        if (number >= 0) {
            durations.push_back(static_cast<double>(Now() - start));
        }
    }
    return durations;
}

}  // namespace pelacon::bench
