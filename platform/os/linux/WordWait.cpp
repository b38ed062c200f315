#include <os/WordWait.h>

namespace pelacon::os {

void WaitWhile(const std::atomic<std::uint64_t>& word, std::uint64_t value) noexcept
{
    word.wait(value);
}

void WakeOne(std::atomic<std::uint64_t>& word) noexcept
{
    word.notify_one();
}

void WakeAll(std::atomic<std::uint64_t>& word) noexcept
{
    word.notify_all();
}

}  // namespace pelacon::os
