#include <karvell_secure_c/securec.h>

#include <cerrno>

errno_t memcpy_s(void* destination, std::size_t destinationSize, const void* source,
                 std::size_t count)
{
    if (count == 0) {
        return 0;
    }
    if (destination == nullptr) {
        return EINVAL;
    }
    if (source == nullptr || count > destinationSize) {
        std::memset(destination, 0, destinationSize);
        return source == nullptr ? EINVAL : ERANGE;
    }
    std::memcpy(destination, source, count);
    return 0;
}

errno_t memset_s(void* destination, std::size_t destinationSize, int value, std::size_t count)
{
    if (destination == nullptr) {
        return EINVAL;
    }
    const bool fits = count <= destinationSize;
    std::memset(destination, value, fits ? count : destinationSize);
    return fits ? 0 : ERANGE;
}
