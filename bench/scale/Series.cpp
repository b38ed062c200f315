#include <bench/scale/Series.h>

#include <cmath>
#include <cstdio>
#include <fstream>

namespace pelacon::bench {

/// The slope of the line through the logarithms that has the least squares.
double Series::Exponent() const
{
    double count = 0;
    double sumX = 0;
    double sumY = 0;
    double sumXX = 0;
    double sumXY = 0;
    for (std::size_t i = points_.size() / 2; i < points_.size(); ++i) {
        const double x = std::log(points_[i].first);
        const double y = std::log(points_[i].second);
        count += 1;
        sumX += x;
        sumY += y;
        sumXX += x * x;
        sumXY += x * y;
    }
    return (count * sumXY - sumX * sumY) / (count * sumXX - sumX * sumX);
}

void Series::Write(const std::string& folder) const
{
    std::ofstream file(folder + "/" + name_ + ".csv");
    file << title_ << '\n' << x_ << ',' << y_ << '\n';
    for (const auto& [x, y] : points_) {
        file << x << ',' << y << '\n';
    }
}

void Series::Print() const
{
    std::printf("%s\n  %12s  %s\n", title_.c_str(), x_.c_str(), y_.c_str());
    for (const auto& [x, y] : points_) {
        std::printf("  %12.0f  %.2f\n", x, y);
    }
    std::printf("  exponent of the upper half: %.2f\n\n", Exponent());
    std::fflush(stdout);
}

}  // namespace pelacon::bench
