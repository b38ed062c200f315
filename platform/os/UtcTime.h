// Time as text.
#pragma once

#include <chrono>
#include <cstdio>
#include <string>

namespace pelacon::os {

/// "2024-05-17 09:30:12.345Z": date and time in UTC, to the millisecond, with `between` between the
/// two.
inline std::string UtcStamp(std::chrono::system_clock::time_point time, char between = ' ')
{
    using namespace std::chrono;
    const auto now = floor<milliseconds>(time);
    const auto today = floor<days>(now);
    const hh_mm_ss clock{now - today};
    const year_month_day date{today};
    char text[64];
    std::snprintf(
        text, sizeof text, "%04d-%02u-%02u%c%02d:%02d:%02d.%03dZ", static_cast<int>(date.year()),
        static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()), between,
        static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
        static_cast<int>(clock.seconds().count()), static_cast<int>(clock.subseconds().count()));
    return text;
}

}  // namespace pelacon::os
