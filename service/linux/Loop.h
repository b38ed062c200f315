// One thread that waits for descriptors, timers and tasks.
#pragma once

#include <service/base/Interface.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace pelacon::service::linux_radios {

/// All that uses the operating system's radios lives in this thread: sockets, buses, timers. Other
/// threads post tasks to it. The loop's own lock is not held while a task runs, so that a task may
/// take any other lock, and a thread that holds another lock may post.
class Loop {
  public:
    using Clock = std::chrono::steady_clock;
    using Duration = Clock::duration;
    using Task = std::function<void()>;
    using Complain = std::function<void(std::string_view)>;

    /// The events and the time that a source waits for.
    struct Interest {
        int descriptor = -1;  ///< -1: the source waits for the time only
        short events = 0;     ///< as poll has them
        std::optional<Clock::time_point> due;
    };

    /// What the loop waits for.
    class Source : public Interface {
      public:
        /// Called before each wait.
        virtual Interest Wants() = 0;

        /// The events have occurred, or the time has come (0 then). May remove any source, also
        /// itself.
        virtual void Ready(short events) = 0;
    };

    /// A task that runs later, unless this is destroyed before. Used and destroyed in the loop's
    /// thread, or after the loop has stopped.
    class Timer {
      public:
        Timer() = default;
        ~Timer() { Cancel(); }
        Timer(Timer&& other) noexcept
            : loop_(std::exchange(other.loop_, nullptr)), key_(std::exchange(other.key_, {}))
        {}
        Timer& operator=(Timer&& other) noexcept;
        Timer(const Timer&) = delete;
        Timer& operator=(const Timer&) = delete;

        void Cancel() noexcept;
        bool IsPending() const;

      private:
        friend class Loop;
        using Key = std::pair<Clock::time_point, std::uint64_t>;
        Timer(Loop& loop, Key key) : loop_(&loop), key_(key) {}

        Loop* loop_ = nullptr;
        Key key_;
    };

    /// Starts the thread. `complain` gets what a task or a source throws, in the loop's thread.
    explicit Loop(Complain complain);

    /// As Stop.
    ~Loop();

    Loop(const Loop&) = delete;
    Loop& operator=(const Loop&) = delete;

    /// Runs the task in the loop's thread, after those posted before it. From any thread. False,
    /// and the task is dropped, once the loop stops.
    bool Post(Task task);

    /// Runs what was posted so far, and ends the thread. From any thread but the loop's own. May be
    /// repeated.
    void Stop();

    bool IsInThread() const noexcept { return std::this_thread::get_id() == thread_.get_id(); }

    /// How often the thread has woken.
    std::uint64_t Turns() const noexcept { return turns_.load(std::memory_order_relaxed); }

    // In the loop's thread only, or after it has stopped:

    /// The source stays until it is removed.
    void Add(Source& source);
    void Remove(Source& source) noexcept;

    /// Runs the task then, and after the sources that are ready by now: a delay of zero lets what
    /// has arrived be read first.
    [[nodiscard]] Timer After(Duration delay, Task task);

    /// Reports an exception that must not pass through a C library.
    void Report(std::string_view what) const noexcept;

  private:
    struct Entry {
        std::uint64_t id;
        Source* source;
    };

    void Run();
    Clock::time_point Wait();
    void RunTimers(Clock::time_point now);
    bool RunPosted();
    void Guarded(const Task& task) const noexcept;

    Complain complain_;
    int wakeDescriptor_;
    std::vector<Entry> sources_;
    std::map<Timer::Key, Task> timers_;
    std::uint64_t lastId_ = 0;
    std::atomic<std::uint64_t> turns_{0};

    std::mutex mutex_;  // guards the next two
    std::vector<Task> posted_;
    bool stopping_ = false;

    std::mutex joining_;
    std::thread thread_;
};

}  // namespace pelacon::service::linux_radios
