#include "Descriptor.h"

#include <IPCMessage/Transport.h>

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <mutex>

namespace pelacon::ipc {

namespace {

// All of this is trivially destructible: threads may open and close while the process exits.
std::mutex listMutex;
Descriptor* listHead = nullptr;
std::atomic<std::uint64_t> forkGeneration{0};

}  // namespace

struct DescriptorList {
    static void BeforeFork() { listMutex.lock(); }
    static void AfterForkInParent() { listMutex.unlock(); }

    static void AfterForkInChild()
    {
        forkGeneration.fetch_add(1, std::memory_order_relaxed);
        for (Descriptor* one = listHead; one != nullptr; one = one->next_) {
            close(one->fd_);
            one->fd_ = -1;
        }
        listHead = nullptr;
        listMutex.unlock();
    }

    static const int registered;
};

const int DescriptorList::registered =
    pthread_atfork(&BeforeFork, &AfterForkInParent, &AfterForkInChild);

Descriptor::ForkGuard::ForkGuard() noexcept
{
    listMutex.lock();
}
Descriptor::ForkGuard::~ForkGuard()
{
    listMutex.unlock();
}

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
    next_ = listHead;
    previous_ = nullptr;
    if (next_ != nullptr) {
        next_->previous_ = this;
    }
    listHead = this;
}

void Descriptor::Close() noexcept
{
    const ForkGuard guard;
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

std::uint64_t ForkGeneration() noexcept
{
    return forkGeneration.load(std::memory_order_relaxed);
}

}  // namespace pelacon::ipc
