#include <os/Debugger.h>

#include <windows.h>

#include <string>

namespace pelacon::os {

void WriteToDebugger(std::wstring_view line)
{
    OutputDebugStringW((std::wstring(line) + L'\n').c_str());
}

}  // namespace pelacon::os
