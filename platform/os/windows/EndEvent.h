// How a program without a console is asked to end.
#pragma once

#include <windows.h>

#include <string>

namespace pelacon::os {

/// The name of the event that ends a process when it is set, where Ctrl-C cannot reach the process.
/// Programs that wait for Ctrl-C, or for a request to end, wait for this event too.
inline std::wstring EndEventName(DWORD processId)
{
    return L"Local\\Pelacon.end." + std::to_wstring(processId);
}

}  // namespace pelacon::os
