// The service's own log: one line per event, to standard error.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <new>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>

namespace pelacon::service {

enum class LogLevel : std::uint8_t {
    kError,    ///< the service itself failed
    kWarning,  ///< something unexpected from outside
    kInfo,     ///< start and end, arriving and leaving clients, faults
    kDebug,    ///< every request and notification, by name
    kTrace,    ///< and their bytes
};

/// The level with this name ("error", "warning", "info", "debug", "trace").
std::optional<LogLevel> LogLevelOf(std::string_view name);

namespace log {

using Sink = std::function<void(LogLevel level, std::string_view line)>;

inline std::atomic<LogLevel> wantedLevel{LogLevel::kInfo};

inline bool IsWanted(LogLevel level) noexcept
{
    return level <= wantedLevel.load(std::memory_order_relaxed);
}

/// Sends lines to the sink instead of standard error; an empty sink ends that. Called under a lock;
/// must not block.
void SetSink(Sink sink);

/// Queues a line without blocking; another thread writes it to standard error. If the reader is too
/// slow, up to 1 MiB of lines are kept; later ones are dropped, and a line in their place says how
/// many. Throws nothing but std::bad_alloc.
void WriteLine(LogLevel level, std::string_view line);

/// Waits until all lines are written, or the time is up.
void Flush(std::chrono::milliseconds limit);

/// Counts a line that there was no memory for.
void LoseLine() noexcept;

/// Throws nothing: a line that there is no memory for is counted as lost.
template <typename... Pieces>
void Write(LogLevel level, const Pieces&... pieces)
{
    if (IsWanted(level)) {
        try {
            std::ostringstream line;
            (line << ... << pieces);
            WriteLine(level, line.str());
        } catch (const std::bad_alloc&) {
            LoseLine();
        }
    }
}

template <typename... Pieces>
void Error(const Pieces&... pieces)
{
    Write(LogLevel::kError, pieces...);
}
template <typename... Pieces>
void Warning(const Pieces&... pieces)
{
    Write(LogLevel::kWarning, pieces...);
}
template <typename... Pieces>
void Info(const Pieces&... pieces)
{
    Write(LogLevel::kInfo, pieces...);
}
template <typename... Pieces>
void Debug(const Pieces&... pieces)
{
    Write(LogLevel::kDebug, pieces...);
}

}  // namespace log
}  // namespace pelacon::service
