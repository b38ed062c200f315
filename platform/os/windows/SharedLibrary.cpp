#include <os/SharedLibrary.h>

#include <windows.h>

namespace pelacon::os {

void PinThisLibrary()
{
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                       reinterpret_cast<LPCWSTR>(&PinThisLibrary), &module);
}

}  // namespace pelacon::os
