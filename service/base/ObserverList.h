// Objects that are called on each change of something.
#pragma once

#include <algorithm>
#include <vector>

namespace pelacon::service {

/// Observers are removed before their end.
template <typename Observer>
class ObserverList {
  public:
    void Add(Observer& observer) { observers_.push_back(&observer); }
    void Remove(Observer& observer) noexcept { std::erase(observers_, &observer); }

    bool IsEmpty() const noexcept { return observers_.empty(); }

    /// Calls `use` with the observers in the order in which they were added. A call may remove
    /// observers, which are then not called any more.
    template <typename Use>
    void ForEach(const Use& use) const
    {
        for (Observer* const observer : std::vector(observers_)) {
            if (std::find(observers_.begin(), observers_.end(), observer) != observers_.end()) {
                use(*observer);
            }
        }
    }

  private:
    std::vector<Observer*> observers_;
};

}  // namespace pelacon::service
