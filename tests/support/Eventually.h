// The one wait that polls.
#pragma once

#include <chrono>
#include <thread>

namespace pelacon::test {

/// The bound of every wait in the tests. Reaching it is a failure, so it is longer than anything
/// takes on a busy machine.
inline constexpr std::chrono::seconds kPatience{20};

/// Checks the condition, with a pause between two checks, until it holds; false if it does not hold
/// in time. For conditions that no callback and no notification announces.
template <typename Condition>
bool Eventually(const Condition& condition, std::chrono::milliseconds patience = kPatience,
                std::chrono::milliseconds pause = std::chrono::milliseconds(2))
{
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(pause);
    }
    return true;
}

}  // namespace pelacon::test
