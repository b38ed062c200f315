#include <os/Terminal.h>

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>

namespace pelacon::os {

bool OutputIsTerminal()
{
    const char* kind = std::getenv("TERM");
    return isatty(STDOUT_FILENO) == 1 && kind != nullptr && std::string_view(kind) != "dumb";
}

namespace {

winsize Size()
{
    winsize size{};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size : winsize{};
}

}  // namespace

int TerminalWidth()
{
    return Size().ws_col;
}

int TerminalHeight()
{
    return Size().ws_row;
}

}  // namespace pelacon::os
