// The results and their targets, as a table.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace pelacon::bench {

/// The unit of a figure.
enum class Unit { kNanoseconds, kPerSecond, kKilobytes, kCount };

/// The target of a figure, or of its ratio to the bare figure.
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

/// One line of the table: the figures of all rounds, with the bare figures of the same rounds.
class Row {
  public:
    /// The second target is for processes that may use all processors.
    Row(std::string name, Unit unit, std::optional<Target> target = std::nullopt,
        std::optional<Target> unpinnedTarget = std::nullopt)
        : name_(std::move(name)), unit_(unit), target_(target), unpinnedTarget_(unpinnedTarget)
    {}

    void Add(double bare, double ours)
    {
        bare_.push_back(bare);
        ours_.push_back(ours);
        ratios_.push_back(ours / bare);
    }

    /// A figure without a bare one; its target is for the figure itself.
    void Add(double ours) { ours_.push_back(ours); }

    /// Whether the median of the ratios, or of the figures, meets the target.
    bool Passed() const;

    /// Replaces the target by the one for all processors, which may be none.
    void UseUnpinnedTarget() { target_ = unpinnedTarget_; }

  private:
    friend class Table;

    std::string name_;
    Unit unit_;
    std::optional<Target> target_;
    std::optional<Target> unpinnedTarget_;
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
