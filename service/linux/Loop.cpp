#include <service/linux/Loop.h>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <system_error>

namespace pelacon::service::linux_radios {

namespace {

constexpr std::size_t kUsualSources = 8;

timespec TimespecOf(Loop::Duration duration)
{
    using std::chrono::nanoseconds;
    using std::chrono::seconds;
    const auto whole = std::chrono::duration_cast<seconds>(duration);
    timespec result{};
    result.tv_sec = static_cast<std::time_t>(whole.count());
    result.tv_nsec =
        static_cast<long>(std::chrono::duration_cast<nanoseconds>(duration - whole).count());
    return result;
}

}  // namespace

Loop::Timer& Loop::Timer::operator=(Timer&& other) noexcept
{
    if (this != &other) {
        Cancel();
        loop_ = std::exchange(other.loop_, nullptr);
        key_ = other.key_;
    }
    return *this;
}

void Loop::Timer::Cancel() noexcept
{
    if (loop_ != nullptr) {
        std::exchange(loop_, nullptr)->timers_.erase(key_);
    }
}

bool Loop::Timer::IsPending() const
{
    return loop_ != nullptr && loop_->timers_.contains(key_);
}

Loop::Loop(Complain complain)
    : complain_(std::move(complain)), wakeDescriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    if (wakeDescriptor_ < 0) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
    try {
        // The thread takes this lock first, so it sees its own id.
        const std::lock_guard lock(mutex_);
        thread_ = std::thread([this] { Run(); });
    } catch (...) {
        close(wakeDescriptor_);
        throw;
    }
}

Loop::~Loop()
{
    Stop();
    close(wakeDescriptor_);
}

bool Loop::Post(Task task)
{
    const std::lock_guard lock(mutex_);
    if (stopping_) {
        return false;
    }
    const bool wasEmpty = posted_.empty();
    posted_.push_back(std::move(task));
    if (wasEmpty) {
        eventfd_write(wakeDescriptor_, 1);
    }
    return true;
}

void Loop::Stop()
{
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
        eventfd_write(wakeDescriptor_, 1);
    }
    const std::lock_guard lock(joining_);
    if (thread_.joinable()) {
        thread_.join();
    }
}

void Loop::Add(Source& source)
{
    sources_.push_back({++lastId_, &source});
}

void Loop::Remove(Source& source) noexcept
{
    std::erase_if(sources_, [&](const Entry& entry) { return entry.source == &source; });
}

Loop::Timer Loop::After(Duration delay, Task task)
{
    const Timer::Key key{Clock::now() + delay, ++lastId_};
    timers_.emplace(key, std::move(task));
    return {*this, key};
}

void Loop::Report(std::string_view what) const noexcept
{
    try {
        complain_(what);
    } catch (...) {  // NOLINT(bugprone-empty-catch): there is no way left to report it
    }
}

void Loop::Guarded(const Task& task) const noexcept
{
    try {
        task();
    } catch (const std::exception& failure) {
        Report(failure.what());
    } catch (...) {
        Report("something of an unknown type was thrown");
    }
}

void Loop::Run()
{
    {
        const std::lock_guard lock(mutex_);
    }
    while (RunPosted()) {
        RunTimers(Wait());
    }
}

/// Runs the posted tasks. False once the loop is to end and there are no more.
bool Loop::RunPosted()
{
    while (true) {
        std::vector<Task> tasks;
        {
            const std::lock_guard lock(mutex_);
            if (posted_.empty()) {
                return !stopping_;
            }
            tasks.swap(posted_);
        }
        for (Task& task : tasks) {
            Guarded(task);
            task = nullptr;  // destroys its captures before the next one runs
        }
    }
}

/// Handles what is ready. Returns when the wait for it ended.
Loop::Clock::time_point Loop::Wait()
{
    std::optional<Clock::time_point> due;
    const auto note = [&due](Clock::time_point time) { due = due ? std::min(*due, time) : time; };
    if (!timers_.empty()) {
        note(timers_.begin()->first.first);
    }

    struct Asked {
        Entry entry;
        std::optional<Clock::time_point> due;
    };
    std::vector<Asked> asked;
    std::vector<pollfd> descriptors;
    asked.reserve(kUsualSources);
    descriptors.reserve(kUsualSources + 1);
    descriptors.push_back({wakeDescriptor_, POLLIN, 0});
    for (const Entry& entry : sources_) {
        const Interest interest = entry.source->Wants();
        if (interest.due) {
            note(*interest.due);
        }
        asked.push_back({entry, interest.due});
        descriptors.push_back({interest.descriptor, interest.events, 0});
    }

    timespec limit{};
    if (due) {
        limit = TimespecOf(std::max(*due - Clock::now(), Duration::zero()));
    }
    const int ready =
        ppoll(descriptors.data(), descriptors.size(), due ? &limit : nullptr, nullptr);
    turns_.fetch_add(1, std::memory_order_relaxed);
    const Clock::time_point now = Clock::now();
    if (ready < 0) {
        return now;  // interrupted
    }
    if (descriptors.front().revents != 0) {
        eventfd_t count = 0;
        eventfd_read(wakeDescriptor_, &count);
    }
    for (std::size_t i = 0; i < asked.size(); ++i) {
        const short events = descriptors[i + 1].revents;
        const bool isDue = asked[i].due && *asked[i].due <= now;
        if (events == 0 && !isDue) {
            continue;
        }
        // One that was ready before may have removed it.
        const bool isStillThere =
            std::any_of(sources_.begin(), sources_.end(),
                        [&](const Entry& entry) { return entry.id == asked[i].entry.id; });
        if (isStillThere) {
            Guarded([&] { asked[i].entry.source->Ready(events); });
        }
    }
    return now;
}

void Loop::RunTimers(Clock::time_point now)
{
    while (!timers_.empty() && timers_.begin()->first.first <= now) {
        const Task task = std::move(timers_.begin()->second);
        timers_.erase(timers_.begin());
        Guarded(task);
    }
}

}  // namespace pelacon::service::linux_radios
