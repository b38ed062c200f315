#include <os/windows/Handle.h>
#include <tests/platform/IPCMessage/Fixture.h>
#include <tests/platform/IPCMessage/Surroundings.h>

#include <windows.h>
// clang-format off: builds on windows.h
#include <tlhelp32.h>
// clang-format on

#include <atomic>
#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <utility>

namespace pelacon::test {

namespace {

using os::MakeHandle;
using os::OwnedHandle;

[[noreturn]] void Fail(const std::string& what)
{
    throw std::runtime_error(what + ": error " + std::to_string(GetLastError()));
}

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

}  // namespace

RuntimeFolder::RuntimeFolder()
{
    static std::atomic<int> number{0};
    path_ = std::filesystem::temp_directory_path() /
            ("channel-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(++number));
    std::filesystem::create_directories(path_);
    _putenv_s("PELACON_RUNTIME_DIR", path_.string().c_str());
}

RuntimeFolder::~RuntimeFolder()
{
    _putenv_s("PELACON_RUNTIME_DIR", "");
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

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

struct PeerProcess::State {
    OwnedHandle process;
    DWORD id = 0;
    OwnedHandle input;
    OwnedHandle output;
    std::string unread;
    std::optional<int> exitCode;

    void ForEachThread(DWORD(WINAPI* action)(HANDLE)) const
    {
        VisitThreads(id, [&](DWORD threadId) {
            const OwnedHandle thread(OpenThread(THREAD_SUSPEND_RESUME, FALSE, threadId));
            action(thread.get());
        });
    }
};

PeerProcess::PeerProcess(const std::string& role, const std::vector<std::string>& arguments)
    : state_(std::make_unique<State>())
{
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    HANDLE input[2]{};
    HANDLE output[2]{};
    if (CreatePipe(&input[0], &input[1], &inheritable, 0) == 0 ||
        CreatePipe(&output[0], &output[1], &inheritable, 0) == 0) {
        Fail("CreatePipe");
    }
    SetHandleInformation(input[1], HANDLE_FLAG_INHERIT, 0);
    SetHandleInformation(output[0], HANDLE_FLAG_INHERIT, 0);
    state_->input.reset(input[1]);
    state_->output.reset(output[0]);
    const OwnedHandle theirInput(input[0]);
    const OwnedHandle theirOutput(output[1]);

    std::string line = std::string("\"") + CHANNEL_PEER + "\" " + role;
    for (const std::string& argument : arguments) {
        line += " \"" + argument + "\"";
    }
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = theirInput.get();
    startup.hStdOutput = theirOutput.get();
    startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION process{};
    if (CreateProcessA(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                       &process) == 0) {
        Fail(CHANNEL_PEER);
    }
    CloseHandle(process.hThread);
    state_->process.reset(process.hProcess);
    state_->id = process.dwProcessId;
}

PeerProcess::~PeerProcess()
{
    if (!state_->exitCode) {
        Kill();
        WaitForSingleObject(state_->process.get(), INFINITE);
    }
}

std::string PeerProcess::ReadLine()
{
    for (;;) {
        if (const auto end = state_->unread.find('\n'); end != std::string::npos) {
            std::string line = state_->unread.substr(0, end);
            state_->unread.erase(0, end + 1);
            std::erase(line, '\r');
            return line;
        }
        DWORD available = 0;
        if (!Eventually([&] {
                return PeekNamedPipe(state_->output.get(), nullptr, 0, nullptr, &available,
                                     nullptr) == 0 ||
                       available != 0;
            })) {
            throw std::runtime_error("the peer process wrote nothing");
        }
        char text[256];
        DWORD size = 0;
        if (ReadFile(state_->output.get(), text, sizeof text, &size, nullptr) == 0 || size == 0) {
            throw std::runtime_error("the peer process ended");
        }
        state_->unread.append(text, size);
    }
}

void PeerProcess::CloseInput()
{
    state_->input.reset();
}

void PeerProcess::Kill()
{
    TerminateProcess(state_->process.get(), static_cast<UINT>(-1));
}

int PeerProcess::WaitForExit()
{
    const auto patience = static_cast<DWORD>(kLongEnough.count());
    if (WaitForSingleObject(state_->process.get(), patience) != WAIT_OBJECT_0) {
        throw std::runtime_error("the peer process does not end");
    }
    DWORD exitCode = 0;
    GetExitCodeProcess(state_->process.get(), &exitCode);
    state_->exitCode = static_cast<int>(exitCode);
    return *state_->exitCode;
}

unsigned PeerProcess::Id() const
{
    return state_->id;
}

void PeerProcess::Suspend()
{
    state_->ForEachThread([](HANDLE thread) { return SuspendThread(thread); });
}

void PeerProcess::Resume()
{
    state_->ForEachThread([](HANDLE thread) { return ResumeThread(thread); });
}

}  // namespace pelacon::test
