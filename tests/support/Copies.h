// Bounded copies that fail when a test wants them to.
#pragma once

#include <karvell_secure_c/securec.h>

#include <cstddef>

/// The memcpy_s that the library has outside of tests.
errno_t RealMemcpyS(void* destination, std::size_t destinationSize, const void* source,
                    std::size_t count);

namespace pelacon::test {

class Copies {
  public:
    /// The next memcpy_s fails, as one whose data do not fit: it zeroes the destination and returns
    /// ERANGE.
    static void FailNext();
    /// The copies of after that one: FailAfter(0) is FailNext().
    static void FailAfter(int good);
    static void Reset();

    /// What the library's memcpy_s is in tests.
    static errno_t Copy(void* destination, std::size_t destinationSize, const void* source,
                        std::size_t count);
};

}  // namespace pelacon::test
