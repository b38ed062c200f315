#include <tools/pelaconctl/Failure.h>
#include <tools/pelaconctl/Spinner.h>

#include <iterator>
#include <utility>

namespace pelacon::ctl {

namespace {

using Clock = std::chrono::steady_clock;

// Short operations show no spinner.
constexpr std::chrono::milliseconds kBeforeFirst{250};
constexpr std::chrono::milliseconds kEachStep{100};
constexpr const char* kSteps[] = {"⠋", "⠙", "⠹", "⠸", "⠼", "⠴", "⠦", "⠧", "⠇", "⠏"};
constexpr auto kClearLine = "\r\033[K";

}  // namespace

Spinner::Spinner(const Console& console, std::string what)
    : console_(console), what_(std::move(what))
{
    if (console_.IsTerminal() && !console_.Json()) {
        thread_ = std::thread([this] { Run(); });
    }
}

Spinner::~Spinner()
{
    {
        const std::lock_guard lock(mutex_);
        ended_ = true;
        changed_.notify_all();
    }
    if (thread_.joinable()) {
        thread_.join();
    }
}

void Spinner::Run()
{
    const Clock::time_point begin = Clock::now();
    const auto ended = [this] { return ended_; };
    std::unique_lock lock(mutex_);
    if (changed_.wait_for(lock, kBeforeFirst, ended)) {
        return;
    }
    try {
        for (std::size_t step = 0; !ended_; step = (step + 1) % std::size(kSteps)) {
            Draw(step, std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - begin));
            changed_.wait_for(lock, kEachStep, ended);
        }
        console_.Put(kClearLine);
    } catch (const Failure&) {  // NOLINT(bugprone-empty-catch): the command's output fails, too
    }
}

void Spinner::Draw(std::size_t step, std::chrono::seconds waited) const
{
    const std::string seconds = std::to_string(waited.count()) + " s";
    console_.Put(kClearLine + console_.Styled(Console::Style::kBold, kSteps[step]) + ' ' + what_ +
                 ' ' + console_.Styled(Console::Style::kDim, seconds + ", press Ctrl-C to cancel"));
}

}  // namespace pelacon::ctl
