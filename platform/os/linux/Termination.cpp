#include <os/Termination.h>
#include <os/Threads.h>

#include <pthread.h>

#include <csignal>
#include <initializer_list>
#include <utility>

namespace pelacon::os {

namespace {

sigset_t SetOf(std::initializer_list<int> signals)
{
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : signals) {
        sigaddset(&set, signal);
    }
    return set;
}

sigset_t EndingSignals()
{
    return SetOf({SIGTERM, SIGINT, SIGHUP});
}

}  // namespace

// A thread that waits for the signal may do what a signal handler may not: take locks, wake others.
void OnInterrupt(std::function<void()> action)
{
    struct sigaction before {};
    if (sigaction(SIGINT, nullptr, &before) == 0 && before.sa_handler == SIG_IGN) {
        return;
    }
    const sigset_t interrupt = SetOf({SIGINT});
    pthread_sigmask(SIG_BLOCK, &interrupt, nullptr);
    StartDetachedThread([interrupt, action = std::move(action)] {
        for (int signal = 0; sigwait(&interrupt, &signal) == 0;) {
            action();
        }
    });
}

// Threads started later inherit the mask, so none of them is interrupted.
Termination::Termination()
{
    const sigset_t signals = EndingSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
}

const char* Termination::Wait()
{
    const sigset_t signals = EndingSignals();
    int signal = 0;
    while (sigwait(&signals, &signal) != 0) {
    }
    return signal == SIGINT ? "SIGINT" : signal == SIGHUP ? "SIGHUP" : "SIGTERM";
}

}  // namespace pelacon::os
