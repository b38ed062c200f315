#include <os/Environment.h>
#include <tools/pelaconctl/Console.h>
#include <tools/pelaconctl/Failure.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <iostream>
#include <sstream>

namespace pelacon::ctl {

namespace {

constexpr os::TerminalSize kDefaultSize{80, 24};

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

/// Breaks the contents at blanks into lines within the width, and indents all but the first.
std::string Wrapped(const std::string& contents, std::size_t indent, std::size_t width)
{
    if (width - indent >= contents.size()) {
        return contents;
    }
    std::string text;
    std::size_t column = indent;
    std::istringstream words(contents);
    for (std::string word; words >> word; column += word.size() + 1) {
        if (column != indent && column + word.size() > width) {
            text += "\n" + std::string(indent, ' ');
            column = indent;
        }
        text += (column != indent ? " " : "") + word;
    }
    return text;
}

bool ColoursWanted()
{
    const auto noColour = os::EnvironmentVariable("NO_COLOR");
    return !noColour || noColour->empty();
}

}  // namespace

Console::Console() : terminal_(os::OutputIsTerminal()), colours_(terminal_ && ColoursWanted()) {}

os::TerminalSize Console::Size() const
{
    const os::TerminalSize size = os::SizeOfTerminal();
    return {size.columns > 0 ? size.columns : kDefaultSize.columns,
            size.rows > 0 ? size.rows : kDefaultSize.rows};
}

std::string Console::Styled(Style style, std::string_view text) const
{
    if (!colours_) {
        return std::string(text);
    }
    return ColourCode(style) + std::string(text) + "\033[0m";
}

std::string Console::Rows(const std::vector<Row>& rows, std::size_t width) const
{
    std::size_t indent = 0;
    for (const auto& [title, contents] : rows) {
        indent = std::max(indent, title.size() + 2);
    }
    std::string text;
    for (const auto& [title, contents] : rows) {
        text += "\n" + Styled(Style::kBold, title) + std::string(indent - title.size(), ' ') +
                Wrapped(contents, indent, std::max(width, indent));
    }
    return text;
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
    // Names of other devices may be any bytes: those that are not UTF-8 are replaced.
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
        throw Failure(ExitStatus::kFailed, "Cannot write the output.");
    }
}

}  // namespace pelacon::ctl
