#include <os/windows/Handle.h>
#include <tests/platform/IPCMessage/Surroundings.h>

#include <windows.h>
// clang-format off: builds on windows.h
#include <tlhelp32.h>
// clang-format on

namespace pelacon::test {

namespace {

using os::MakeHandle;
using os::OwnedHandle;

OwnedHandle Snapshot(DWORD what)
{
    return MakeHandle(CreateToolhelp32Snapshot(what, 0));
}

/// Calls the visitor with the id of every thread of a process.
template <typename Visitor>
void VisitThreads(DWORD processId, const Visitor& visitor)
{
    const OwnedHandle snapshot = Snapshot(TH32CS_SNAPTHREAD);
    THREADENTRY32 entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = Thread32First(snapshot.get(), &entry); more != FALSE;
         more = Thread32Next(snapshot.get(), &entry)) {
        if (entry.th32OwnerProcessID == processId) {
            visitor(entry.th32ThreadID);
        }
    }
}

void ForEachThread(DWORD processId, void (*action)(HANDLE thread))
{
    VisitThreads(processId, [&](DWORD threadId) {
        const OwnedHandle thread(OpenThread(THREAD_SUSPEND_RESUME, FALSE, threadId));
        action(thread.get());
    });
}

}  // namespace

std::size_t OpenDescriptors()
{
    DWORD count = 0;
    GetProcessHandleCount(GetCurrentProcess(), &count);
    return count;
}

std::size_t RunningThreads()
{
    std::size_t count = 0;
    VisitThreads(GetCurrentProcessId(), [&](DWORD) { ++count; });
    return count;
}

void SuspendProcess(std::uint32_t processId)
{
    ForEachThread(processId, [](HANDLE thread) { SuspendThread(thread); });
}

void ResumeProcess(std::uint32_t processId)
{
    ForEachThread(processId, [](HANDLE thread) { ResumeThread(thread); });
}

}  // namespace pelacon::test
