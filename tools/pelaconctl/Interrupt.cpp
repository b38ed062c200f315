#include <os/Interrupt.h>
#include <tools/pelaconctl/Failure.h>
#include <tools/pelaconctl/Interrupt.h>

#include <cstdlib>
#include <mutex>
#include <utility>

namespace pelacon::ctl {

namespace {

/// The command that Ctrl-C is told to. Never destroyed: the thread that hears of interrupts may
/// still use them when main has returned.
struct Listener {
    std::mutex mutex;
    UntilInterrupt* current = nullptr;
};

Listener& TheListener()
{
    static auto& listener = *new Listener;
    return listener;
}

}  // namespace

void HandleInterrupts()
{
    os::OnInterrupt([] {
        const std::lock_guard lock(TheListener().mutex);
        UntilInterrupt* const current = TheListener().current;
        if (current == nullptr || current->Happened()) {
            std::_Exit(static_cast<int>(ExitStatus::kInterrupted));
        }
        current->Happen();
    });
}

UntilInterrupt::UntilInterrupt(std::function<void()> wake) : wake_(std::move(wake))
{
    const std::lock_guard lock(TheListener().mutex);
    TheListener().current = this;
}

UntilInterrupt::~UntilInterrupt()
{
    const std::lock_guard lock(TheListener().mutex);
    TheListener().current = nullptr;
}

void UntilInterrupt::Happen()
{
    happened_ = true;
    if (wake_) {
        wake_();
    }
}

}  // namespace pelacon::ctl
