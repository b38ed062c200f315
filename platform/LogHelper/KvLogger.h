// The logger that the SDK's lines go to.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <sstream>
#include <string_view>

/// How much a line matters. The values are part of the log's contract.
enum LOG_MESSAGE_LEVEL : std::int32_t {
    kLogTrace = 1,       ///< function trace and normal events
    kLogMilestone = 2,   ///< lifecycle and diagnostic-event lines
    kLogIncomplete = 3,  ///< a request that could not be completed
    kLogFailure = 4,     ///< failures
};

/// The process's logger. Lines go nowhere until somebody asks for them: the environment variable
/// PELACON_LOG (a level from 1 to 4, or 0 for off; optionally followed by ":" and a file to append
/// to instead of stderr) or an application that sets a sink. Safe to use from any thread.
class KvLogger {
  public:
    /// Takes a line and its level. Called concurrently, without a lock held.
    using Sink = std::function<void(LOG_MESSAGE_LEVEL level, std::wstring_view line)>;

    static KvLogger& GetInstance();

    KvLogger(const KvLogger&) = delete;
    KvLogger& operator=(const KvLogger&) = delete;

    /// Whether an output takes lines of this level: one relaxed load, so that other lines need not
    /// be built.
    bool IsWanted(LOG_MESSAGE_LEVEL level) const noexcept
    {
        return level >= lowestWanted_.load(std::memory_order_relaxed);
    }

    /// Delivers one line. Never throws; what a sink throws, or logs itself, is dropped.
    void Log(LOG_MESSAGE_LEVEL level, const std::wstringstream& line) noexcept;

    /// Sends all lines of at least this level to the sink, besides what PELACON_LOG asks for. An
    /// empty sink takes the last one away; when this returns, that one is not called any more
    /// (unless this is called from inside it).
    void SetSink(Sink sink, LOG_MESSAGE_LEVEL lowest = kLogTrace);

  private:
    KvLogger();
    ~KvLogger() = default;

    std::atomic<std::int32_t> lowestWanted_;
};
