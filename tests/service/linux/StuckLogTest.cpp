// A log whose reader does not read.
#include <service/base/Log.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>

namespace pelacon::service::tests {
namespace {

using namespace std::chrono_literals;

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

    /// Appends some of what was written; waits for it if need be.
    void Read(std::string& text) const
    {
        std::array<char, 65536> piece;
        const ssize_t size = read(ends_[0], piece.data(), piece.size());
        if (size <= 0) {
            throw std::runtime_error("the log cannot be read");
        }
        text.append(piece.data(), static_cast<std::size_t>(size));
    }

  private:
    int before_;
    std::array<int, 2> ends_{};
};

/// How many lines are in the text, or are reported to be missing there.
struct Lines {
    explicit Lines(const std::string& text)
    {
        std::istringstream stream(text);
        for (std::string line; std::getline(stream, line) && !stream.eof();) {
            if (line.find(" info: line ") != std::string::npos) {
                ++came;
            } else if (line.find(" lines of the log are missing here") != std::string::npos) {
                constexpr std::string_view kWarning = " warning: ";
                missing += std::stoi(line.substr(line.find(kWarning) + kWarning.size()));
            }
        }
    }

    int came = 0;
    int missing = 0;
};

TEST(StuckLogTest, DelaysNoCallerAndReportsLostLines)
{
    constexpr int kLines = 20'000;
    const LogLevel before = log::wantedLevel.exchange(LogLevel::kInfo);
    const FullStandardError errors;
    for (int number = 0; number < kLines; ++number) {
        log::Info("line ", number, " of a log that is not read, ", std::string(100, '.'));
    }
    log::Flush(10ms);  // returns

    // Each gap is reported where it is. How many gaps there are depends on when the writer starts.
    std::string all;
    Lines lines(all);
    while (lines.came + lines.missing < kLines) {
        errors.Read(all);
        lines = Lines(all);
    }
    EXPECT_EQ(lines.came + lines.missing, kLines);
    EXPECT_GT(lines.came, 1000);
    EXPECT_GT(lines.missing, 0);
    log::Info("the end");
    while (!all.ends_with(" info: the end\n")) {
        errors.Read(all);
    }
    log::Flush(10s);
    log::wantedLevel = before;
}

}  // namespace
}  // namespace pelacon::service::tests
