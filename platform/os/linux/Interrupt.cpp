#include <os/Interrupt.h>
#include <os/Threads.h>

#include <pthread.h>

#include <csignal>
#include <utility>

namespace pelacon::os {

// A thread that waits for the signal may do what a signal handler may not: take locks, wake others.
void OnInterrupt(std::function<void()> action)
{
    struct sigaction before {};
    if (sigaction(SIGINT, nullptr, &before) == 0 && before.sa_handler == SIG_IGN) {
        return;
    }
    sigset_t interrupt;
    sigemptyset(&interrupt);
    sigaddset(&interrupt, SIGINT);
    pthread_sigmask(SIG_BLOCK, &interrupt, nullptr);
    StartDetachedThread([interrupt, action = std::move(action)] {
        for (int signal = 0; sigwait(&interrupt, &signal) == 0;) {
            action();
        }
    });
}

}  // namespace pelacon::os
