#include <os/Termination.h>

#include <windows.h>

#include <atomic>
#include <cstddef>

namespace pelacon::os {

namespace {

/// The event that came, plus one; 0 while none has.
std::atomic<DWORD> happened{0};

// The system ends the process when this returns from one of the last three, so it does not: the
// main thread's return ends it.
BOOL WINAPI OnControl(DWORD event)
{
    happened.store(event + 1);
    happened.notify_all();
    if (event == CTRL_CLOSE_EVENT || event == CTRL_LOGOFF_EVENT || event == CTRL_SHUTDOWN_EVENT) {
        Sleep(INFINITE);
    }
    return TRUE;
}

}  // namespace

Termination::Termination()
{
    SetConsoleCtrlHandler(nullptr, FALSE);
    SetConsoleCtrlHandler(&OnControl, TRUE);
}

const char* Termination::Wait()
{
    happened.wait(0);
    switch (happened.load() - 1) {
        case CTRL_C_EVENT:
            return "Ctrl-C";
        case CTRL_BREAK_EVENT:
            return "Ctrl-Break";
        case CTRL_CLOSE_EVENT:
            return "its console was closed";
        default:
            return "the system ends the session";
    }
}

}  // namespace pelacon::os
