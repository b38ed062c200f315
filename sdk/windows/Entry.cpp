// The entry point of PelaconSDK.dll where MinGW builds it.
#include <windows.h>

extern "C" {

/// The runtime's own: constructs and destroys what is static.
BOOL WINAPI DllMainCRTStartup(HINSTANCE library, DWORD reason, LPVOID reserved);

/// Skips the destructors when the process ends. The system has ended all other threads by then,
/// each wherever it was, and a lock that one of them held stays locked: a destructor that takes it
/// (that of a condition variable takes a spin lock of the thread library) would keep the process
/// from ending. `reserved` is null only when the library is unloaded from a process that goes on.
BOOL WINAPI PelaconDllEntry(HINSTANCE library, DWORD reason, LPVOID reserved)
{
    if (reason == DLL_PROCESS_DETACH && reserved != nullptr) {
        return TRUE;
    }
    return DllMainCRTStartup(library, reason, reserved);
}
}
