#include "EndEvent.h"

#include <os/Interrupt.h>

#include <windows.h>

#include <utility>

namespace pelacon::os {

namespace {

/// Never destroyed: the system's thread may still call it after main has returned.
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

void CALLBACK OnEndEvent(void*, BOOLEAN)
{
    Action()();
}

/// The wait lasts as long as the process.
void AwaitEndEvent()
{
    HANDLE event = CreateEventW(nullptr, FALSE, FALSE, EndEventName(GetCurrentProcessId()).c_str());
    HANDLE wait = nullptr;
    RegisterWaitForSingleObject(&wait, event, &OnEndEvent, nullptr, INFINITE, WT_EXECUTEDEFAULT);
}

}  // namespace

// The system calls both handlers on its own threads. It does not call the first where Ctrl-C is
// ignored.
void OnInterrupt(std::function<void()> action)
{
    Action() = std::move(action);
    SetConsoleCtrlHandler(&OnControl, TRUE);
    AwaitEndEvent();
}

}  // namespace pelacon::os
