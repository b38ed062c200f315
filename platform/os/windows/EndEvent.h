// How a program without a console is told to end.
#pragma once

#include <windows.h>

#include <string>

namespace pelacon::os {

/// The event that ends a process when it is set, where Ctrl-C cannot reach it. Programs that wait
/// for Ctrl-C, or to be ended, wait for it, too.
inline std::string EndEventName(DWORD processId)
{
    return "Local\\Pelacon.end." + std::to_string(processId);
}

}  // namespace pelacon::os
