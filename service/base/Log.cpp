#include <os/Files.h>
#include <os/Threads.h>
#include <os/UtcTime.h>
#include <service/base/Log.h>

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <new>
#include <system_error>
#include <utility>

namespace pelacon::service {

namespace {

constexpr std::array<std::string_view, 5> kNames{"error", "warning", "info", "debug", "trace"};

std::string Format(LogLevel level, std::string_view line)
{
    std::string text = os::UtcStamp(std::chrono::system_clock::now());
    text.append(" ").append(kNames[static_cast<std::size_t>(level)]).append(": ");
    return text.append(line).append("\n");
}

std::string MissingLines(std::uint64_t dropped)
{
    return Format(LogLevel::kWarning, std::to_string(dropped) +
                                          " lines of the log are missing here: its reader was "
                                          "too slow, or there was no memory");
}

/// Exists as long as the process: its thread may wait for a reader for ever and cannot be joined.
class Output {
  public:
    static Output& The()
    {
        // Neither allocated, as there may be no memory, nor destroyed.
        alignas(Output) static std::array<std::byte, sizeof(Output)> room;
        static Output& output = *new (room.data()) Output;
        return output;
    }

    void SetSink(log::Sink sink)
    {
        const std::lock_guard lock(mutex_);
        sink_ = std::move(sink);
    }

    void Put(LogLevel level, std::string_view line)
    {
        const std::lock_guard lock(mutex_);
        if (sink_) {
            sink_(level, line);
        } else {
            Queue(Format(level, line));
        }
    }

    void Lose() noexcept
    {
        const std::lock_guard lock(mutex_);
        ++dropped_;
    }

    void Flush(std::chrono::milliseconds limit)
    {
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, limit, [this] { return queue_.empty() && !writing_; });
    }

  private:
    static constexpr std::size_t kMostBytes = 1024UL * 1024;

    void Queue(const std::string& text)
    {
        if (queue_.size() + text.size() > kMostBytes) {
            ++dropped_;
            return;
        }
        queue_ += text;
        StartThread();
        changed_.notify_all();
    }

    void StartThread()
    {
        try {
            if (!started_) {
                os::StartDetachedThread([this] { WriteAll(); });
                started_ = true;
            }
        } catch (const std::system_error&) {  // NOLINT(bugprone-empty-catch): the next line tries
        }
    }

    void WriteAll()
    {
        std::unique_lock lock(mutex_);
        for (;;) {
            changed_.wait(lock, [this] { return !queue_.empty(); });
            std::string lines = std::exchange(queue_, {});
            try {
                if (dropped_ != 0) {
                    lines += MissingLines(dropped_);
                    dropped_ = 0;
                }
            } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): reported later
            }
            writing_ = true;
            lock.unlock();
            os::WriteToStandardError(lines);
            lock.lock();
            writing_ = false;
            changed_.notify_all();
        }
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    log::Sink sink_;
    std::string queue_;
    std::uint64_t dropped_ = 0;  // after those that are queued
    bool writing_ = false;
    bool started_ = false;
};

}  // namespace

std::optional<LogLevel> LogLevelOf(std::string_view name)
{
    for (std::size_t i = 0; i < kNames.size(); ++i) {
        if (kNames[i] == name) {
            return static_cast<LogLevel>(i);
        }
    }
    return std::nullopt;
}

void log::SetSink(Sink sink)
{
    Output::The().SetSink(std::move(sink));
}

void log::WriteLine(LogLevel level, std::string_view line)
{
    Output::The().Put(level, line);
}

void log::LoseLine() noexcept
{
    Output::The().Lose();
}

void log::Flush(std::chrono::milliseconds limit)
{
    Output::The().Flush(limit);
}

}  // namespace pelacon::service
