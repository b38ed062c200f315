// The tests' memcpy_s in place of the C runtime's.
#include <tests/support/Copies.h>

#include <windows.h>

namespace {

using CopyFunction = errno_t(__cdecl*)(void*, std::size_t, const void*, std::size_t);

errno_t __cdecl Copy(void* destination, std::size_t destinationSize, const void* source,
                     std::size_t count)
{
    return pelacon::test::Copies::Copy(destination, destinationSize, source, count);
}

}  // namespace

// Calls to a function of a DLL go through a pointer of this name, which the import library would
// otherwise bring.
extern "C" {
extern CopyFunction __imp_memcpy_s;
CopyFunction __imp_memcpy_s = &Copy;
}

errno_t RealMemcpyS(void* destination, std::size_t destinationSize, const void* source,
                    std::size_t count)
{
    static const auto real = reinterpret_cast<CopyFunction>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"msvcrt.dll"), "memcpy_s")));
    return real(destination, destinationSize, source, count);
}
