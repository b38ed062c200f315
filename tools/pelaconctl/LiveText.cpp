#include <tools/pelaconctl/LiveText.h>

namespace pelacon::ctl {

void LiveText::Draw(const std::vector<std::string>& lines)
{
    constexpr char kClearRestOfLine[] = "\033[K";
    constexpr char kClearBelow[] = "\033[J";
    std::string text;
    if (drawn_ > 0) {
        text = "\033[" + std::to_string(drawn_) + "A\r";
    }
    for (const std::string& line : lines) {
        text += line + kClearRestOfLine + "\n";
    }
    console_.Put(text + kClearBelow);
    drawn_ = lines.size();
}

}  // namespace pelacon::ctl
