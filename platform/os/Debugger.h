// The output of a debugger that watches this process.
#pragma once

#include <string_view>

namespace pelacon::os {

/// Shows a line to the debugger, or to a viewer of debugger output. Does nothing where there is no
/// such thing: on Linux debuggers have no channel of their own.
void WriteToDebugger(std::wstring_view line);

}  // namespace pelacon::os
