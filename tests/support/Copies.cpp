#include <tests/support/Copies.h>

#include <atomic>
#include <cerrno>
#include <cstring>

namespace pelacon::test {

namespace {

/// How many copies succeed before one fails; negative when none fails.
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

errno_t Copies::Copy(void* destination, std::size_t destinationSize, const void* source,
                     std::size_t count)
{
    if (untilFailure >= 0 && untilFailure.fetch_sub(1) == 0) {
        if (destination != nullptr) {
            std::memset(destination, 0, destinationSize);
        }
        return ERANGE;
    }
    return RealMemcpyS(destination, destinationSize, source, count);
}

}  // namespace pelacon::test
