// A log whose reader does not read.
#include <service/base/Log.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <stdexcept>
#include <string>

namespace pelacon::service::tests {
namespace {

using namespace std::chrono_literals;  // NOLINT(google-build-using-namespace)

/// While this lives, standard error is a pipe that is full.
class FullStandardError {
  public:
    FullStandardError() : before_(dup(STDERR_FILENO))
    {
        if (pipe2(ends_.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
            throw std::runtime_error("no pipe");
        }
        const std::string filling(512, '#');
        while (write(ends_[1], filling.data(), filling.size()) > 0) {
        }
        fcntl(ends_[1], F_SETFL, 0);  // blocks from now on
        fcntl(ends_[0], F_SETFL, 0);
        dup2(ends_[1], STDERR_FILENO);
    }
    ~FullStandardError()
    {
        dup2(before_, STDERR_FILENO);
        for (const int descriptor : {before_, ends_[0], ends_[1]}) {
            close(descriptor);
        }
    }
    FullStandardError(const FullStandardError&) = delete;
    FullStandardError& operator=(const FullStandardError&) = delete;

    /// All that was written, up to this text.
    std::string ReadTo(const std::string& text) const
    {
        std::string all;
        std::array<char, 65536> piece;
        while (all.find(text) == std::string::npos) {
            const ssize_t size = read(ends_[0], piece.data(), piece.size());
            if (size <= 0) {
                throw std::runtime_error("the log cannot be read");
            }
            all.append(piece.data(), static_cast<std::size_t>(size));
        }
        return all;
    }

  private:
    int before_;
    std::array<int, 2> ends_{};
};

TEST(StuckLogTest, DelaysNobodyAndReportsLostLines)
{
    constexpr int kLines = 20'000;
    const LogLevel before = log::wantedLevel.exchange(LogLevel::kInfo);
    const FullStandardError errors;
    for (int number = 0; number < kLines; ++number) {
        log::Info("line ", number, " of text that nobody reads, ", std::string(100, '.'));
    }
    log::Flush(10ms);  // returns

    const std::string all = errors.ReadTo(" lines of the log are missing here");
    int next = 0;
    for (std::size_t at = 0;; ++next) {
        at = all.find(" info: line " + std::to_string(next) + " ", at);
        if (at == std::string::npos) {
            break;
        }
    }
    EXPECT_GT(next, 1000);
    EXPECT_NE(all.find(" warning: " + std::to_string(kLines - next) + " lines of the log"),
              std::string::npos)
        << next << " lines came";
    log::Info("the end");
    EXPECT_NE(errors.ReadTo("the end").find(" info: the end\n"), std::string::npos);
    log::Flush(10s);
    log::wantedLevel = before;
}

}  // namespace
}  // namespace pelacon::service::tests
