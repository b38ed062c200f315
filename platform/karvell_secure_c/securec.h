// Bounds-checked copies, memcpy_s and memset_s, that say no and nothing else.
#pragma once

#include <cstddef>
#include <cstring>

#ifdef _WIN32
// The C runtime has a function of this name, and some versions of it end the process where this one
// returns an error.
#define memcpy_s karvell_memcpy_s
#else
using errno_t = int;
#endif

/// Copies count bytes into a destination that holds destinationSize. Returns 0 on success; a count
/// of 0 always succeeds and touches nothing. When the destination is null the result is EINVAL.
/// When the source is null (EINVAL) or count exceeds the destination (ERANGE), the whole
/// destination is zeroed and nothing is copied.
errno_t memcpy_s(void* destination, std::size_t destinationSize, const void* source,
                 std::size_t count);

/// Sets count bytes of a destination that holds destinationSize. Returns 0 on success. When the
/// destination is null the result is EINVAL; when count exceeds the destination, all of the
/// destination is set and the result is ERANGE.
errno_t memset_s(void* destination, std::size_t destinationSize, int value, std::size_t count);
