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

TerminalSize SizeOfTerminal()
{
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0) {
        return {};
    }
    return {size.ws_col, size.ws_row};
}

}  // namespace pelacon::os
