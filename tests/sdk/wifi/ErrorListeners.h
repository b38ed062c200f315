// Listeners for tests of the error notifier.
#pragma once

#include <PelaconSDK/ErrorListener.h>

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace pelacon::test {

inline constexpr std::chrono::seconds kLongEnough{10};

/// Keeps what it hears, and lets a test wait for it.
class RecordingListener : public ErrorListener {
  public:
    void OnError(ErrorDetail detail) override
    {
        if (meanwhile) {
            meanwhile(detail);
        }
        const std::lock_guard lock(mutex_);
        heard_.push_back(std::move(detail));
        thread_ = std::this_thread::get_id();
        changed_.notify_all();
    }

    /// What was heard, once it is so much; fails the test when that takes too long.
    std::vector<ErrorDetail> Wait(std::size_t count)
    {
        std::unique_lock lock(mutex_);
        if (!changed_.wait_for(lock, kLongEnough, [&] { return heard_.size() >= count; })) {
            ADD_FAILURE() << "heard " << heard_.size() << " errors, not " << count;
        }
        return heard_;
    }

    std::vector<ErrorDetail> Heard() { return Wait(0); }

    std::thread::id Thread()
    {
        const std::lock_guard lock(mutex_);
        return thread_;
    }

    /// Runs inside the delivery, before it counts as heard.
    std::function<void(const ErrorDetail&)> meanwhile;

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<ErrorDetail> heard_;
    std::thread::id thread_;
};

/// The codes of what was heard.
inline std::vector<std::int32_t> Codes(const std::vector<ErrorDetail>& heard)
{
    std::vector<std::int32_t> codes;
    for (const ErrorDetail& detail : heard) {
        codes.push_back(detail.code);
    }
    return codes;
}

}  // namespace pelacon::test
