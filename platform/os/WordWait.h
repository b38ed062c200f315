// Waiting until another thread changes an atomic word.
#pragma once

#include <atomic>
#include <cstdint>

namespace pelacon::os {

// std::atomic::wait is used where the C++ library builds it on the system's own wait (Linux). On
// Windows, libstdc++ 12 builds it on a condition variable whose mutex the notifying thread does not
// take, so that a wake-up can get lost; these functions use the system there. The other waits of
// <atomic>, <latch>, <barrier> and <semaphore> have the same fault.

/// Returns when the word is not `value` and a wake-up has followed the change, or at once when it
/// already differs. Never fails.
void WaitWhile(const std::atomic<std::uint64_t>& word, std::uint64_t value) noexcept;

/// Wakes one of the threads that wait for the word, if any. The word may have been destroyed.
void WakeOne(std::atomic<std::uint64_t>& word) noexcept;

/// Wakes all threads that wait for the word. The word may have been destroyed.
void WakeAll(std::atomic<std::uint64_t>& word) noexcept;

}  // namespace pelacon::os
