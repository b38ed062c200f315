// Figures that depend on a number, and the law that they follow.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace pelacon::bench {

class Series {
  public:
    /// The name of its files; a title, and what x and y are, with their unit, for people.
    Series(std::string name, std::string title, std::string x, std::string y)
        : name_(std::move(name)), title_(std::move(title)), x_(std::move(x)), y_(std::move(y))
    {}

    void Add(double x, double y) { points_.emplace_back(x, y); }

    /// The exponent of the power of x that y follows in the upper half of the points: 0 if y does
    /// not depend on x, 1 if it is proportional.
    double Exponent() const;

    /// Writes FOLDER/NAME.csv, whose first lines have the title and the names of x and y.
    void Write(const std::string& folder) const;

    /// Prints a line for each point, and the exponent.
    void Print() const;

  private:
    std::string name_;
    std::string title_;
    std::string x_;
    std::string y_;
    std::vector<std::pair<double, double>> points_;
};

}  // namespace pelacon::bench
