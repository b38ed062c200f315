// A callback that a test keeps running, to see what waits for it.
#pragma once

#include <tests/support/Eventually.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <thread>
#include <utility>

namespace pelacon::test {

class HeldCallback {
  public:
    /// Calls `deliver` on a new thread and waits until its callback has called Hold.
    explicit HeldCallback(std::function<void()> deliver)
    {
        current_ = this;
        receiver_ = std::thread(std::move(deliver));
        isInside_ = entered_.get_future().wait_for(kPatience) == std::future_status::ready;
    }
    ~HeldCallback() { Release(); }

    HeldCallback(const HeldCallback&) = delete;
    HeldCallback& operator=(const HeldCallback&) = delete;

    /// To be called by the callback: the first call returns when this object releases it, later
    /// calls at once.
    static void Hold()
    {
        if (!current_->isHeld_.exchange(true)) {
            current_->entered_.set_value();
            current_->leave_.get_future().wait_for(kPatience);
        }
    }

    bool IsInside() const { return isInside_; }

    /// Whether the callback ran and the action ended when the callback had ended, not before.
    bool HoldsUp(std::function<void()> action)
    {
        auto acting = std::async(std::launch::async, std::move(action));
        const bool waits =
            acting.wait_for(std::chrono::milliseconds(50)) == std::future_status::timeout;
        Release();
        return isInside_ && waits && acting.wait_for(kPatience) == std::future_status::ready;
    }

  private:
    void Release()
    {
        if (receiver_.joinable()) {
            leave_.set_value();
            receiver_.join();
        }
    }

    static inline HeldCallback* current_ = nullptr;

    std::atomic<bool> isHeld_{false};
    std::promise<void> entered_;
    std::promise<void> leave_;
    std::thread receiver_;
    bool isInside_ = false;
};

}  // namespace pelacon::test
