#include <os/Threads.h>
#include <tests/support/Journal.h>
#include <tests/support/Threads.h>

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace pelacon::test {

namespace {

using Body = std::function<void()>;

struct State {
    std::mutex mutex;
    std::condition_variable ended;
    ThreadMode mode = ThreadMode::kDetached;
    int started = 0;
    int running = 0;
    std::vector<std::thread> threads;  // until WaitForAll joins them
    std::vector<Body> kept;
};

State& TheState()
{
    static State& state = *new State;
    return state;
}

void RunDetached(const Body& body)
{
    // Kept instead of detached: on some systems a thread that ends while it is detached may hang.
    const std::lock_guard lock(TheState().mutex);
    TheState().threads.emplace_back([body] {
        body();
        const std::lock_guard ending(TheState().mutex);
        --TheState().running;
        TheState().ended.notify_all();
    });
    ++TheState().running;
}

}  // namespace

void Threads::Use(ThreadMode mode)
{
    const std::lock_guard lock(TheState().mutex);
    TheState().mode = mode;
}

int Threads::Started()
{
    const std::lock_guard lock(TheState().mutex);
    return TheState().started;
}

void Threads::RunKept()
{
    std::vector<Body> bodies;
    {
        const std::lock_guard lock(TheState().mutex);
        bodies.swap(TheState().kept);
    }
    for (const Body& body : bodies) {
        body();
    }
}

void Threads::WaitForAll()
{
    std::unique_lock lock(TheState().mutex);
    if (!TheState().ended.wait_for(lock, std::chrono::seconds(10),
                                   [] { return TheState().running == 0; })) {
        ADD_FAILURE() << TheState().running << " detached threads have not ended";
        return;
    }
    std::vector<std::thread> ended;
    ended.swap(TheState().threads);
    lock.unlock();
    for (std::thread& thread : ended) {
        thread.join();
    }
}

void Threads::Reset()
{
    const std::lock_guard lock(TheState().mutex);
    TheState().mode = ThreadMode::kDetached;
    TheState().started = 0;
    TheState().kept.clear();
}

}  // namespace pelacon::test

void pelacon::os::StartDetachedThread(std::function<void()> body)
{
    using namespace pelacon::test;
    ThreadMode mode{};
    {
        const std::lock_guard lock(TheState().mutex);
        mode = TheState().mode;
        if (mode == ThreadMode::kFailing) {
            throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again),
                                    "no thread");
        }
        ++TheState().started;
        Journal::Note("thread");
        if (mode == ThreadMode::kKept) {
            TheState().kept.push_back(std::move(body));
            return;
        }
    }
    if (mode == ThreadMode::kAtOnce) {
        body();
    } else {
        RunDetached(body);
    }
}
