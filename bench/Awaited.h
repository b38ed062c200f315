// A result that another thread provides.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <utility>

namespace pelacon::bench {

template <typename Value>
class Awaited {
  public:
    void Set(Value value)
    {
        const std::lock_guard lock(mutex_);
        value_ = value;
        there_.notify_all();
    }

    /// Takes the value when it is there. Throws if it does not come.
    Value Take()
    {
        std::unique_lock lock(mutex_);
        if (!there_.wait_for(lock, std::chrono::seconds(60),
                             [this] { return value_.has_value(); })) {
            throw std::runtime_error("Messages were lost.");
        }
        return *std::exchange(value_, std::nullopt);
    }

  private:
    std::mutex mutex_;
    std::condition_variable there_;
    std::optional<Value> value_;
};

}  // namespace pelacon::bench
