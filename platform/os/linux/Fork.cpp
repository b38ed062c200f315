#include <os/Fork.h>

#include <pthread.h>

#include <system_error>

namespace pelacon::os {

void OnForkedChild(void (*action)())
{
    const int error = pthread_atfork(nullptr, nullptr, action);
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), "pthread_atfork");
    }
}

}  // namespace pelacon::os
