// When advertisements were seen at several places, and how much later at one than at another.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <vector>

namespace pelacon::radios_test {

/// When each advertisement, known by its data, was seen for the first time. May be used in several
/// threads.
class ScanTimes {
  public:
    using Data = std::vector<std::uint8_t>;
    using Clock = std::chrono::steady_clock;

    void Note(const Data& data)
    {
        const auto now = Clock::now();
        const std::lock_guard lock(mutex_);
        first_.try_emplace(data, now);
    }

    std::size_t Count() const { return All().size(); }

    std::map<Data, Clock::time_point> All() const
    {
        const std::lock_guard lock(mutex_);
        return first_;
    }

  private:
    mutable std::mutex mutex_;
    std::map<Data, Clock::time_point> first_;
};

/// How much later than at the raw socket, in milliseconds, sorted. One that is missing fails the
/// test.
inline std::vector<double> Later(const ScanTimes& times, const ScanTimes& atRawSocket)
{
    const auto there = times.All();
    std::vector<double> later;
    for (const auto& [data, time] : atRawSocket.All()) {
        const auto seen = there.find(data);
        EXPECT_NE(seen, there.end()) << "an advertisement did not arrive";
        if (seen != there.end()) {
            later.push_back(std::chrono::duration<double, std::milli>(seen->second - time).count());
        }
    }
    std::ranges::sort(later);
    return later;
}

}  // namespace pelacon::radios_test
