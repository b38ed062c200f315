#include <karvell_secure_c/securec.h>
#include <tests/support/Copies.h>

#include <atomic>
#include <cerrno>

namespace pelacon::test {

namespace {

/// Copies to go until one fails; negative when none does.
std::atomic<int> untilFailure{-1};

}  // namespace

void Copies::FailNext()
{
    FailAfter(0);
}

void Copies::FailAfter(int good)
{
    untilFailure = good;
}

void Copies::Reset()
{
    untilFailure = -1;
}

}  // namespace pelacon::test

#ifndef _WIN32
errno_t RealMemcpyS(void* destination, std::size_t destinationSize, const void* source,
                    std::size_t count);

errno_t memcpy_s(void* destination, std::size_t destinationSize, const void* source,
                 std::size_t count)
{
    if (pelacon::test::untilFailure >= 0 && pelacon::test::untilFailure.fetch_sub(1) == 0) {
        if (destination != nullptr) {
            std::memset(destination, 0, destinationSize);
        }
        return ERANGE;
    }
    return RealMemcpyS(destination, destinationSize, source, count);
}
#endif
