#include <os/WordWait.h>

#include <windows.h>

namespace pelacon::os {

static_assert(sizeof(std::atomic<std::uint64_t>) == sizeof(std::uint64_t));

void WaitWhile(const std::atomic<std::uint64_t>& word, std::uint64_t value) noexcept
{
    // The function takes a pointer to non-const but only reads.
    auto* const address = const_cast<std::atomic<std::uint64_t>*>(&word);
    while (word.load() == value) {
        WaitOnAddress(address, &value, sizeof value, INFINITE);
    }
}

void WakeOne(std::atomic<std::uint64_t>& word) noexcept
{
    WakeByAddressSingle(&word);
}

void WakeAll(std::atomic<std::uint64_t>& word) noexcept
{
    WakeByAddressAll(&word);
}

}  // namespace pelacon::os
