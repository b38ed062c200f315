#include <os/Cancellation.h>

#include <pthread.h>

namespace pelacon::os {

NoCancellation::NoCancellation() noexcept
{
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before_);
}

NoCancellation::~NoCancellation()
{
    pthread_setcancelstate(before_, nullptr);
}

}  // namespace pelacon::os
