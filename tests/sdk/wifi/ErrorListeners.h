// Listeners for tests of the error notifier.
#pragma once

#include <PelaconSDK/ErrorListener.h>
#include <tests/support/Mailbox.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <thread>
#include <utility>
#include <vector>

namespace pelacon::test {

/// Keeps the errors that it is called with; a test can wait for them.
class RecordingListener : public ErrorListener {
  public:
    void OnError(ErrorDetail detail) override
    {
        if (meanwhile) {
            meanwhile(detail);
        }
        thread_ = std::this_thread::get_id();
        errors_.Put(std::move(detail));
    }

    /// All errors, as soon as there are `count`; throws when they do not come.
    std::vector<ErrorDetail> Wait(std::size_t count) const { return errors_.WaitFor(count); }

    std::vector<ErrorDetail> Errors() const { return errors_.All(); }

    /// The thread of the last call.
    std::thread::id Thread() const { return thread_; }

    /// Called inside OnError, before the error is recorded.
    std::function<void(const ErrorDetail&)> meanwhile;

  private:
    Mailbox<ErrorDetail> errors_;
    std::atomic<std::thread::id> thread_;
};

/// The codes of the errors.
inline std::vector<std::int32_t> Codes(const std::vector<ErrorDetail>& errors)
{
    std::vector<std::int32_t> codes;
    for (const ErrorDetail& detail : errors) {
        codes.push_back(detail.code);
    }
    return codes;
}

}  // namespace pelacon::test
