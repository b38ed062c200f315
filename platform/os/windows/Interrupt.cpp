#include <os/Interrupt.h>

#include <windows.h>

#include <utility>

namespace pelacon::os {

namespace {

/// Never destroyed: the system's thread may still call it when main has returned.
std::function<void()>& Action()
{
    static auto& action = *new std::function<void()>;
    return action;
}

BOOL WINAPI OnControl(DWORD event)
{
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) {
        return FALSE;
    }
    Action()();
    return TRUE;
}

}  // namespace

// The system calls the handler on a thread of its own, and not at all where Ctrl-C is ignored.
void OnInterrupt(std::function<void()> action)
{
    Action() = std::move(action);
    SetConsoleCtrlHandler(&OnControl, TRUE);
}

}  // namespace pelacon::os
