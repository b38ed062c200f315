#include <bench/Statistics.h>
#include <bench/Table.h>
#include <os/Environment.h>
#include <os/Terminal.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <iostream>

namespace pelacon::bench {

namespace {

std::string Format(const char* format, double value)
{
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), format, value);
    return text.data();
}

std::string Figure(Unit unit, double value)
{
    switch (unit) {
        case Unit::kNanoseconds:
            if (value < 1e2) {
                return Format("%.2f ns", value);
            }
            return value < 1e6 ? Format("%.2f us", value / 1e3) : Format("%.2f ms", value / 1e6);
        case Unit::kPerSecond:
            return value < 1e6 ? Format("%.0f k/s", value / 1e3) : Format("%.2f M/s", value / 1e6);
        case Unit::kKilobytes:
            return Format("%.0f kB", value);
        case Unit::kCount:
            return Format("%.0f", value);
    }
    return {};
}

std::string Limit(const Target& target, Unit unit, bool isRatio)
{
    const char* const sense = target.sense == Target::Sense::kAtMost ? "<= " : ">= ";
    return sense + (isRatio ? Format("%.2f", target.limit) : Figure(unit, target.limit));
}

/// Whether the output is a terminal that shows colours.
bool Coloured()
{
    static const bool coloured = os::OutputIsTerminal() && !os::EnvironmentVariable("NO_COLOR");
    return coloured;
}

std::string Verdict(bool passed)
{
    if (!Coloured()) {
        return passed ? "pass" : "MISS";
    }
    return passed ? "\033[32mpass\033[0m" : "\033[1;31mMISS\033[0m";
}

void PrintLine(const std::string& name, const std::array<std::string, 5>& columns)
{
    std::printf("  %-48s %11s %11s %7s  %-12s %s\n", name.c_str(), columns[0].c_str(),
                columns[1].c_str(), columns[2].c_str(), columns[3].c_str(), columns[4].c_str());
}

std::string Spread(const std::vector<double>& values)
{
    const auto [least, most] = std::minmax_element(values.begin(), values.end());
    return Format("%.2f", *least) + " to " + Format("%.2f", *most);
}

}  // namespace

bool Row::Passed() const
{
    return !target_ || target_->MetBy(Median(ratios_.empty() ? ours_ : ratios_));
}

void Table::Print() const
{
    std::printf("%s\n\n", title_.c_str());
    PrintLine("", {"bare", "ours", "ratio", "target", ""});
    for (const Group& group : groups_) {
        std::printf("%s\n", group.heading.c_str());
        for (const Row& row : group.rows) {
            PrintRow(row);
        }
    }
    std::printf("\n");
    std::fflush(stdout);
}

void Table::PrintRow(const Row& row) const
{
    const bool isRatio = !row.ratios_.empty();
    std::array<std::string, 5> columns;
    columns[0] = isRatio ? Figure(row.unit_, Median(row.bare_)) : "";
    columns[1] = Figure(row.unit_, Median(row.ours_));
    columns[2] = isRatio ? Format("%.3f", Median(row.ratios_)) : "";
    if (row.target_) {
        columns[3] = Limit(*row.target_, row.unit_, isRatio);
        columns[4] = Verdict(row.Passed());
    }
    if (isRatio) {
        columns[4] += (columns[4].empty() ? "      " : "  ") + Spread(row.ratios_);
    }
    PrintLine(row.name_, columns);
}

int Table::Missed() const
{
    int missed = 0;
    for (const Group& group : groups_) {
        missed += static_cast<int>(std::count_if(group.rows.begin(), group.rows.end(),
                                                 [](const Row& row) { return !row.Passed(); }));
    }
    return missed;
}

}  // namespace pelacon::bench
