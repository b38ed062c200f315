// Functions that are called on each change of something.
#pragma once

#include <functional>
#include <utility>
#include <vector>

namespace pelacon::service {

template <typename... Arguments>
class Observers {
  public:
    using Observer = std::function<void(Arguments...)>;

    void Add(Observer observer) { observers_.push_back(std::move(observer)); }

    /// Calls the observers in the order in which they were added.
    void operator()(const Arguments&... arguments) const
    {
        for (const Observer& observer : observers_) {
            observer(arguments...);
        }
    }

  private:
    std::vector<Observer> observers_;
};

}  // namespace pelacon::service
