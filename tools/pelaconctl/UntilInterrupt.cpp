#include <os/Termination.h>
#include <tools/pelaconctl/Failure.h>
#include <tools/pelaconctl/UntilInterrupt.h>

#include <cstdlib>
#include <mutex>
#include <utility>

namespace pelacon::ctl {

namespace {

/// The object that receives Ctrl-C. Never destroyed: the thread that handles interrupts may still
/// use it when main has returned.
struct Receiver {
    std::mutex mutex;
    UntilInterrupt* current = nullptr;
};

Receiver& TheReceiver()
{
    static auto& receiver = *new Receiver;
    return receiver;
}

}  // namespace

void HandleInterrupts()
{
    os::OnInterrupt([] {
        const std::lock_guard lock(TheReceiver().mutex);
        UntilInterrupt* const current = TheReceiver().current;
        if (current == nullptr || current->Happened()) {
            std::_Exit(static_cast<int>(ExitStatus::kInterrupted));
        }
        current->Happen();
    });
}

UntilInterrupt::UntilInterrupt(std::function<void()> wake) : wake_(std::move(wake))
{
    const std::lock_guard lock(TheReceiver().mutex);
    TheReceiver().current = this;
}

UntilInterrupt::~UntilInterrupt()
{
    const std::lock_guard lock(TheReceiver().mutex);
    TheReceiver().current = nullptr;
}

void UntilInterrupt::Happen()
{
    happened_ = true;
    if (wake_) {
        wake_();
    }
}

}  // namespace pelacon::ctl
