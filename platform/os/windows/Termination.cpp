#include <os/Termination.h>
#include <os/windows/EndEvent.h>

#include <windows.h>

#include <atomic>
#include <stdexcept>

namespace pelacon::os {

namespace {

const char* const kEndEvent = "its end event was set";

/// The cause, for the log.
std::atomic<const char*> happened{kEndEvent};

/// The event that is set when the program is to end.
HANDLE EndEvent()
{
    static HANDLE event =
        CreateEventW(nullptr, TRUE, FALSE, EndEventName(GetCurrentProcessId()).c_str());
    return event;
}

const char* NameOf(DWORD event)
{
    switch (event) {
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

// For the last three events the system ends the process as soon as this returns. This therefore
// does not return, and the main thread ends the process.
BOOL WINAPI OnControl(DWORD event)
{
    happened = NameOf(event);
    SetEvent(EndEvent());
    if (event == CTRL_CLOSE_EVENT || event == CTRL_LOGOFF_EVENT || event == CTRL_SHUTDOWN_EVENT) {
        Sleep(INFINITE);
    }
    return TRUE;
}

}  // namespace

Termination::Termination()
{
    if (EndEvent() == nullptr) {
        throw std::runtime_error("cannot create the end event");
    }
    SetConsoleCtrlHandler(nullptr, FALSE);
    SetConsoleCtrlHandler(&OnControl, TRUE);
}

const char* Termination::Wait()
{
    WaitForSingleObject(EndEvent(), INFINITE);
    return happened;
}

}  // namespace pelacon::os
