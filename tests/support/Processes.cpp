#include <os/Processes.h>
#include <os/SharedLibrary.h>
#include <tests/support/Processes.h>

#include <mutex>
#include <utility>

namespace pelacon::test {

namespace {

struct State {
    std::mutex mutex;
    std::vector<Processes::Process> processes;
    std::vector<std::string> visited;
    bool failing = false;
};

State& TheState()
{
    static State& state = *new State;
    return state;
}

std::vector<Processes::Process> List()
{
    const std::lock_guard lock(TheState().mutex);
    return TheState().processes;
}

}  // namespace

void Processes::Set(std::vector<Process> processes)
{
    const std::lock_guard lock(TheState().mutex);
    TheState().processes = std::move(processes);
}

void Processes::FailSnapshots()
{
    const std::lock_guard lock(TheState().mutex);
    TheState().failing = true;
}

std::vector<std::string> Processes::Visited()
{
    const std::lock_guard lock(TheState().mutex);
    return TheState().visited;
}

void Processes::Reset()
{
    const std::lock_guard lock(TheState().mutex);
    TheState().processes = {{1, "/sbin/init", L"init"}, {77, kServicePath, L"PelaconService"}};
    TheState().visited.clear();
    TheState().failing = false;
}

}  // namespace pelacon::test

namespace pelacon::os {

using test::Processes;

std::uint32_t CurrentProcessId()
{
    return Processes::kOwnId;
}

const std::string& ServiceInstallPath()
{
    static const std::string& path = *new std::string(Processes::kServicePath);
    return path;
}

bool VisitProcessPaths(
    const std::function<bool(std::uint32_t processId, const std::string& path)>& visitor)
{
    {
        const std::lock_guard lock(test::TheState().mutex);
        if (test::TheState().failing) {
            return false;
        }
    }
    for (const Processes::Process& process : test::List()) {
        {
            const std::lock_guard lock(test::TheState().mutex);
            test::TheState().visited.push_back(process.path);
        }
        if (!visitor(process.id, process.path)) {
            break;
        }
    }
    return true;
}

void VisitProcessNames(
    const std::function<void(std::uint32_t processId, const std::wstring& name)>& visitor)
{
    for (const Processes::Process& process : test::List()) {
        visitor(process.id, process.name);
    }
}

void PinThisLibrary() {}

}  // namespace pelacon::os
