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

namespace {

/// The visible part of the console; its width and height are 0 where there is no console.
SMALL_RECT Window()
{
    CONSOLE_SCREEN_BUFFER_INFO info{};
    const bool known = GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info) != 0;
    return known ? info.srWindow : SMALL_RECT{0, 0, -1, -1};
}

}  // namespace

int TerminalWidth()
{
    const SMALL_RECT window = Window();
    return window.Right - window.Left + 1;
}

int TerminalHeight()
{
    const SMALL_RECT window = Window();
    return window.Bottom - window.Top + 1;
}

}  // namespace pelacon::os
