#include <tests/support/TextStream.h>

#include <gtest/gtest.h>

namespace pelacon::test {

void TextStream::Append(std::string_view text)
{
    const std::lock_guard lock(mutex_);
    text_.append(text);
    changed_.notify_all();
}

void TextStream::End()
{
    const std::lock_guard lock(mutex_);
    ended_ = true;
    changed_.notify_all();
}

std::string TextStream::Text() const
{
    const std::lock_guard lock(mutex_);
    return text_;
}

std::optional<std::string> TextStream::NextLine(Clock::time_point deadline)
{
    std::unique_lock lock(mutex_);
    const bool came = changed_.wait_until(
        lock, deadline, [&] { return ended_ || text_.find('\n', taken_) != std::string::npos; });
    const std::size_t end = text_.find('\n', taken_);
    if (end == std::string::npos) {
        EXPECT_TRUE(came) << "no line came; so far: " << text_;
        return std::nullopt;
    }
    std::string line = text_.substr(taken_, end - taken_);
    taken_ = end + 1;
    return line;
}

bool TextStream::WaitFor(const std::string& wanted, Clock::time_point deadline)
{
    std::unique_lock lock(mutex_);
    changed_.wait_until(lock, deadline,
                        [&] { return ended_ || text_.find(wanted) != std::string::npos; });
    return text_.find(wanted) != std::string::npos;
}

}  // namespace pelacon::test
