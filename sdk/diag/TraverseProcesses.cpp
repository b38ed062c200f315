#include <os/Processes.h>
#include <os/Threads.h>
#include <sdk/diag/Log.h>
#include <sdk/diag/TraverseProcesses.h>

#include <atomic>
#include <exception>

namespace pelacon {

namespace {

constexpr int kMostThreads = 10;
constexpr int kMostProcesses = 1024;
std::atomic<int> threadsStarted{0};

void LogProcesses()
{
    int logged = 0;
    os::VisitProcessNames([&](std::uint32_t processId, const std::wstring& name) {
        if (processId != 0 && logged < kMostProcesses) {
            ++logged;
            diag::Log(kLogTrace, "TraverseProcesses", "traverseProcesses, processID:", processId,
                      ", Process Name:", name);
        }
    });
}

}  // namespace

void TraverseProcesses()
{
    // Counted first, so that threads which fail together do not start more than there may be.
    if (threadsStarted.fetch_add(1) >= kMostThreads) {
        threadsStarted.fetch_sub(1);
        return;
    }
    try {
        os::StartDetachedThread(LogProcesses);
    } catch (...) {
        threadsStarted.fetch_sub(1);
        throw;
    }
}

void TryTraverseProcesses(const char* function) noexcept
{
    try {
        TraverseProcesses();
    } catch (const std::exception& exception) {
        diag::Log(kLogFailure, function, "TraverseProcesses failed: ", exception.what());
    }
}

void ForgetTraversals() noexcept
{
    threadsStarted = 0;
}

}  // namespace pelacon
