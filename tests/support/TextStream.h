// The output of another program, read while it comes.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace pelacon::test {

/// Filled by one thread, read by another.
class TextStream {
  public:
    using Clock = std::chrono::steady_clock;

    void Append(std::string_view text);
    /// To be called after the last Append.
    void End();

    /// The whole text so far.
    std::string Text() const;

    /// The next line, without its end; nothing when the stream ends before it, or, as a failure of
    /// the test, when it does not come in time.
    std::optional<std::string> NextLine(Clock::time_point deadline);

    /// Waits until the text has come; false when the stream ends, or time is up, before that.
    bool WaitFor(const std::string& wanted, Clock::time_point deadline);

  private:
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::string text_;
    std::size_t taken_ = 0;
    bool ended_ = false;
};

}  // namespace pelacon::test
