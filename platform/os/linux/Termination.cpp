#include <os/Termination.h>

#include <pthread.h>

#include <csignal>

namespace pelacon::os {

namespace {

sigset_t EndingSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGHUP);
    return signals;
}

}  // namespace

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
