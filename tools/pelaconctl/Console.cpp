#include <os/Environment.h>
#include <os/Terminal.h>
#include <tools/pelaconctl/Console.h>
#include <tools/pelaconctl/Failure.h>

#include <nlohmann/json.hpp>

#include <iostream>

namespace pelacon::ctl {

namespace {

constexpr int kUsualWidth = 80;
constexpr int kUsualHeight = 24;

const char* ColourCode(Console::Style style)
{
    switch (style) {
        case Console::Style::kBold:
            return "\033[1m";
        case Console::Style::kDim:
            return "\033[2m";
        case Console::Style::kGood:
            return "\033[32m";
        case Console::Style::kWarning:
            return "\033[33m";
        case Console::Style::kBad:
            return "\033[31m";
    }
    return "";
}

bool ColoursWanted()
{
    const auto noColour = os::EnvironmentVariable("NO_COLOR");
    return !noColour || noColour->empty();
}

}  // namespace

Console::Console() : terminal_(os::OutputIsTerminal()), colours_(terminal_ && ColoursWanted()) {}

int Console::Width() const
{
    const int width = os::TerminalWidth();
    return width > 0 ? width : kUsualWidth;
}

int Console::Height() const
{
    const int height = os::TerminalHeight();
    return height > 0 ? height : kUsualHeight;
}

std::string Console::Styled(Style style, std::string_view text) const
{
    if (!colours_) {
        return std::string(text);
    }
    return ColourCode(style) + std::string(text) + "\033[0m";
}

void Console::Say(std::string_view line) const
{
    if (!json_) {
        Write(line);
    }
}

void Console::Report(const nlohmann::ordered_json& record, std::string_view line) const
{
    if (!json_) {
        Write(line);
        return;
    }
    // Names that come from radios may be anything; what is not UTF-8 in them is replaced.
    Write(record.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace));
}

void Console::Write(std::string_view line) const
{
    Put(std::string(line) + '\n');
}

void Console::Put(std::string_view text) const
{
    std::cout << text << std::flush;
    if (!std::cout) {
        throw Failure(ExitStatus::kFailed, "The output cannot be written.");
    }
}

}  // namespace pelacon::ctl
