#include <os/Debugger.h>

namespace pelacon::os {

void WriteToDebugger(std::wstring_view) {}

}  // namespace pelacon::os
