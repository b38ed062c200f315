// The tests' memcpy_s; the real one is compiled under its other name.
#include <tests/support/Copies.h>

errno_t memcpy_s(void* destination, std::size_t destinationSize, const void* source,
                 std::size_t count)
{
    return pelacon::test::Copies::Copy(destination, destinationSize, source, count);
}
