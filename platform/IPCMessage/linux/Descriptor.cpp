#include "Descriptor.h"

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <mutex>

namespace pelacon::ipc {

namespace {

// All of this is trivially destructible: threads may open and close while the process exits. The
// mutex is locked under a ForkHold only, so that it is free in a child.
std::mutex listMutex;
Descriptor* listHead = nullptr;

}  // namespace

struct DescriptorList {
    static void AfterForkInChild()
    {
        for (Descriptor* one = listHead; one != nullptr; one = one->next_) {
            close(one->fd_);
            one->fd_ = -1;
        }
        listHead = nullptr;
    }

    static const int registered;
};

const int DescriptorList::registered = pthread_atfork(nullptr, nullptr, &AfterForkInChild);

int Descriptor::AboveStandard(int descriptor) noexcept
{
    if (descriptor < 0 || descriptor > STDERR_FILENO) {
        return descriptor;
    }
    const int moved = fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const int error = errno;
    close(descriptor);
    errno = error;
    return moved;
}

void Descriptor::Enlist() noexcept
{
    const std::lock_guard lock(listMutex);
    next_ = listHead;
    previous_ = nullptr;
    if (next_ != nullptr) {
        next_->previous_ = this;
    }
    listHead = this;
}

void Descriptor::Close() noexcept
{
    const os::ForkHold hold;
    const std::lock_guard lock(listMutex);
    if (fd_ < 0) {
        return;
    }
    (previous_ != nullptr ? previous_->next_ : listHead) = next_;
    if (next_ != nullptr) {
        next_->previous_ = previous_;
    }
    close(fd_);
    fd_ = -1;
}

}  // namespace pelacon::ipc
