#include <service/Log.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <mutex>
#include <utility>

namespace pelacon::service {

namespace {

constexpr std::array<std::string_view, 5> kNames{"error", "warning", "info", "debug", "trace"};

struct Output {
    std::mutex mutex;
    log::Sink sink;
};

Output& TheOutput()
{
    static Output& output = *new Output;
    return output;
}

/// Date and time in UTC, to the millisecond.
std::string Now()
{
    using namespace std::chrono;
    const auto now = time_point_cast<milliseconds>(system_clock::now());
    const auto today = floor<days>(now);
    const hh_mm_ss time{now - today};
    const year_month_day date{today};
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02u %02d:%02d:%02d.%03dZ",
                  static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                  static_cast<unsigned>(date.day()), static_cast<int>(time.hours().count()),
                  static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()),
                  static_cast<int>(time.subseconds().count()));
    return text.data();
}

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
    Output& output = TheOutput();
    const std::lock_guard lock(output.mutex);
    output.sink = std::move(sink);
}

void log::WriteLine(LogLevel level, std::string_view line)
{
    Output& output = TheOutput();
    const std::lock_guard lock(output.mutex);
    if (output.sink) {
        output.sink(level, line);
        return;
    }
    std::string text = Now();
    text.append(" ").append(kNames[static_cast<std::size_t>(level)]).append(": ");
    text.append(line).append("\n");
    std::fwrite(text.data(), 1, text.size(), stderr);
}

}  // namespace pelacon::service
