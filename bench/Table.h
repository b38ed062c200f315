// What was measured, beside what it should be.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace pelacon::bench {

/// How a figure is written.
enum class Unit { kNanoseconds, kPerSecond, kKilobytes, kCount };

/// What a figure, or its ratio to the bare one, must reach.
struct Target {
    enum class Sense { kAtMost, kAtLeast };
    Sense sense;
    double limit;

    bool MetBy(double value) const
    {
        return sense == Sense::kAtMost ? value <= limit : value >= limit;
    }
};

constexpr Target AtMost(double limit)
{
    return {Target::Sense::kAtMost, limit};
}
constexpr Target AtLeast(double limit)
{
    return {Target::Sense::kAtLeast, limit};
}

/// One line of the table: a figure taken in each round, beside the bare one of the same round.
class Row {
  public:
    Row(std::string name, Unit unit, std::optional<Target> target = std::nullopt)
        : name_(std::move(name)), unit_(unit), target_(target)
    {}

    void Add(double bare, double ours)
    {
        bare_.push_back(bare);
        ours_.push_back(ours);
        ratios_.push_back(ours / bare);
    }

    /// A figure that stands for itself; its target is for the figure.
    void Add(double ours) { ours_.push_back(ours); }

    /// Whether the median of the ratios, or of the figures, keeps the target.
    bool Passed() const;

    /// Forgets the target: where the table is only for looking at.
    void DropTarget() { target_.reset(); }

  private:
    friend class Table;

    std::string name_;
    Unit unit_;
    std::optional<Target> target_;
    std::vector<double> bare_;
    std::vector<double> ours_;
    std::vector<double> ratios_;
};

class Table {
  public:
    explicit Table(std::string title) : title_(std::move(title)) {}

    /// Begins a group of rows.
    void Begin(const std::string& heading) { groups_.push_back({heading, {}}); }
    void Add(Row row) { groups_.back().rows.push_back(std::move(row)); }

    void Print() const;

    /// Rows that missed their target.
    int Missed() const;

  private:
    struct Group {
        std::string heading;
        std::vector<Row> rows;
    };
    void PrintRow(const Row& row) const;

    std::string title_;
    std::vector<Group> groups_;
};

}  // namespace pelacon::bench
