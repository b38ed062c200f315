#include <os/Terminal.h>

#include <windows.h>

namespace pelacon::os {

bool OutputIsTerminal()
{
    HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
    DWORD mode = 0;
    return GetConsoleMode(output, &mode) != 0 && SetConsoleOutputCP(CP_UTF8) != 0 &&
           SetConsoleMode(output, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
}

TerminalSize SizeOfTerminal()
{
    CONSOLE_SCREEN_BUFFER_INFO info{};
    if (GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info) == FALSE) {
        return {};
    }
    const SMALL_RECT& visible = info.srWindow;
    return {visible.Right - visible.Left + 1, visible.Bottom - visible.Top + 1};
}

}  // namespace pelacon::os
