// Bounded copies, which fail on demand.
#pragma once

#include <karvell_secure_c/securec.h>

#include <cstddef>

/// The memcpy_s of the shipped library.
errno_t RealMemcpyS(void* destination, std::size_t destinationSize, const void* source,
                    std::size_t count);

namespace pelacon::test {

class Copies {
  public:
    /// The next memcpy_s fails as if its data did not fit: it zeroes the destination and returns
    /// ERANGE.
    static void FailNext();
    /// Lets that many copies succeed and the next one fail: FailAfter(0) is FailNext().
    static void FailAfter(int good);
    static void Reset();

    /// The library's memcpy_s in tests.
    static errno_t Copy(void* destination, std::size_t destinationSize, const void* source,
                        std::size_t count);
};

}  // namespace pelacon::test
