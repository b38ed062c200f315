#include <os/Threads.h>

#include <pthread.h>

#include <memory>
#include <system_error>
#include <utility>

namespace pelacon::os {

namespace {

void* RunBody(void* argument)
{
    const std::unique_ptr<std::function<void()>> body(
        static_cast<std::function<void()>*>(argument));
    (*body)();
    return nullptr;
}

}  // namespace

// Created detached rather than detached afterwards: glibc 2.36 was seen to crash, rarely, in
// pthread_detach of a thread that had just ended.
void StartDetachedThread(std::function<void()> body)
{
    auto owned = std::make_unique<std::function<void()>>(std::move(body));
    pthread_attr_t attributes;
    int error = pthread_attr_init(&attributes);
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), "pthread_attr_init");
    }
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_t thread{};
    error = pthread_create(&thread, &attributes, &RunBody, owned.get());
    pthread_attr_destroy(&attributes);
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), "pthread_create");
    }
    static_cast<void>(owned.release());
}

}  // namespace pelacon::os
