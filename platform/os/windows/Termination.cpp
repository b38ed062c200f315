#include <os/Termination.h>
#include <os/windows/EndEvent.h>

#include <windows.h>

#include <atomic>
#include <stdexcept>
#include <utility>

namespace pelacon::os {

namespace {

/// What an interrupt causes. Never destroyed: the system's thread may still call it after main has
/// returned.
std::function<void()>& Action()
{
    static auto& action = *new std::function<void()>;
    return action;
}

BOOL WINAPI OnInterruptControl(DWORD event)
{
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) {
        return FALSE;
    }
    Action()();
    return TRUE;
}

void CALLBACK OnEndEvent(void*, BOOLEAN)
{
    Action()();
}

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

// The system calls both handlers on its own threads. It does not call the first where Ctrl-C is
// ignored. The wait for the event lasts as long as the process.
void OnInterrupt(std::function<void()> action)
{
    Action() = std::move(action);
    SetConsoleCtrlHandler(&OnInterruptControl, TRUE);
    HANDLE event = CreateEventW(nullptr, FALSE, FALSE, EndEventName(GetCurrentProcessId()).c_str());
    HANDLE wait = nullptr;
    RegisterWaitForSingleObject(&wait, event, &OnEndEvent, nullptr, INFINITE, WT_EXECUTEDEFAULT);
}

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
