// What a program under load counts while it calls the library, and how it reports that.
#pragma once

#include <nlohmann/json.hpp>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <iostream>
#include <mutex>
#include <string>
#include <string_view>

namespace pelacon::test {

/// May be used by several threads.
class LoadCounts {
  public:
    /// Counts the result of a call. A call is not answered if there was no service or no radio. The
    /// report has the `what` of the first answer that is wrong.
    void Judge(bool isAnswered, bool isRight, std::string_view what = "")
    {
        ++(isAnswered ? answered_ : failed_);
        if (isAnswered && !isRight && wrong_++ == 0) {
            const std::lock_guard lock(mutex_);
            firstWrong_ = what;
        }
    }

    /// Makes a call of an operation that has this time-out, and returns the call's result.
    template <typename Call>
    auto Timed(std::chrono::milliseconds timeout, const Call& call)
    {
        const Measurement measurement(*this, timeout);
        return call();
    }

    nlohmann::json Report() const
    {
        const std::lock_guard lock(mutex_);
        return {{"firstWrong", firstWrong_},      {"answered", answered_.load()},
                {"failed", failed_.load()},       {"wrong", wrong_.load()},
                {"slowestMs", slowestMs_.load()}, {"overdueMs", overdueMs_.load()}};
    }

  private:
    using Clock = std::chrono::steady_clock;

    class Measurement {
      public:
        Measurement(LoadCounts& counts, std::chrono::milliseconds timeout)
            : counts_(counts), timeout_(timeout)
        {}
        ~Measurement()
        {
            const auto took =
                std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin_);
            Raise(counts_.slowestMs_, took.count());
            Raise(counts_.overdueMs_, (took - timeout_).count());
        }
        Measurement(const Measurement&) = delete;
        Measurement& operator=(const Measurement&) = delete;

      private:
        LoadCounts& counts_;
        std::chrono::milliseconds timeout_;
        Clock::time_point begin_ = Clock::now();
    };

    static void Raise(std::atomic<std::int64_t>& most, std::int64_t value)
    {
        std::int64_t before = most;
        while (value > before && !most.compare_exchange_weak(before, value)) {
        }
    }

    std::atomic<std::uint64_t> answered_{0};
    std::atomic<std::uint64_t> failed_{0};
    std::atomic<std::uint64_t> wrong_{0};
    std::atomic<std::int64_t> slowestMs_{0};
    std::atomic<std::int64_t> overdueMs_{0};  // at most, after the end of a time-out
    mutable std::mutex mutex_;                // guards what follows
    std::string firstWrong_;
};

/// Writes a line to standard output, for the test that runs this program. From any thread.
inline void WriteLine(const std::string& line)
{
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    std::cout << line << std::endl;
}

}  // namespace pelacon::test
