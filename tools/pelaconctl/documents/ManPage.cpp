// Man pages in the macros of man(7).
#include <PelaconSDK/Version.h>
#include <tools/pelaconctl/documents/CommandTree.h>

#include <algorithm>
#include <sstream>

namespace pelacon::ctl {

namespace {

/// Text that troff shows as it is.
std::string Plain(const std::string& text)
{
    std::string plain;
    for (const char character : text) {
        const bool beginsLine = plain.empty() || plain.back() == '\n';
        if (beginsLine && (character == '.' || character == '\'')) {
            plain += "\\&";
        }
        plain += character == '\\' ? "\\e" : character == '-' ? "\\-" : std::string(1, character);
    }
    return plain;
}

/// The name of a command's page: "pelaconctl-bt".
std::string PageName(std::string path)
{
    std::ranges::replace(path, ' ', '-');
    return path;
}

std::string Title(std::string text)
{
    std::ranges::transform(text, text.begin(), [](char letter) {
        return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
    });
    return text;
}

/// A word in the synopsis: "ADDRESS", "[--wait FLOAT]".
std::string Usage(const DocumentedOption& option)
{
    std::string word = option.isArgument ? "\\fI" + Plain(option.names.front()) + "\\fR"
                                         : "\\fB" + Plain(option.names.back()) + "\\fR";
    word += option.value.empty() ? "" : "\\ \\fI" + Plain(option.value) + "\\fR";
    word += option.isRepeated ? "..." : "";
    return option.isRequired ? word : "[" + word + "]";
}

void AddSynopsis(std::string& page, const DocumentedCommand& command)
{
    if (command.subcommands.empty()) {
        page += ".HP\n\\fB" + Plain(command.path) + "\\fR";
        for (const bool arguments : {false, true}) {
            for (const DocumentedOption& option : command.options) {
                if (option.isArgument == arguments && option.names.back() != "--help") {
                    page += "\n" + Usage(option);
                }
            }
        }
        page += "\n";
    }
    for (const DocumentedCommand& subcommand : command.subcommands) {
        AddSynopsis(page, subcommand);
    }
}

/// Lines that are kept as they are.
void AddLines(std::string& page, const std::string& lines)
{
    page += ".nf\n" + Plain(lines) + (lines.ends_with('\n') ? "" : "\n") + ".fi\n";
}

/// A description, whose lines after the first are kept as they are.
void AddDescription(std::string& page, const std::string& description)
{
    const std::size_t end = description.find('\n');
    page += Plain(description.substr(0, end)) + "\n";
    if (end != std::string::npos) {
        page += ".br\n";
        AddLines(page, description.substr(end + 1));
    }
}

void AddOptions(std::string& page, const DocumentedCommand& command)
{
    for (const DocumentedOption& option : command.options) {
        std::string names;
        for (const std::string& name : option.names) {
            const std::string font = option.isArgument ? "\\fI" : "\\fB";
            names += (names.empty() ? "" : ", ") + font + Plain(name) + "\\fR";
        }
        page += ".TP\n" + names;
        page += option.value.empty() ? "\n" : " \\fI" + Plain(option.value) + "\\fR\n";
        AddDescription(page, option.description);
    }
}

/// A footer consists of paragraphs. Those whose first line ends with a colon have a heading.
void AddFooter(std::string& page, const std::string& footer)
{
    std::istringstream lines(footer);
    std::string paragraph;
    const auto flush = [&] {
        if (!paragraph.empty()) {
            page += ".PP\n";
            AddLines(page, paragraph);
            paragraph.clear();
        }
    };
    for (std::string line; std::getline(lines, line);) {
        const bool isHeading = line == "Examples:" || line == "Exit status:";
        if (line.empty() || isHeading) {
            flush();
        }
        if (isHeading) {
            page += ".SH " + Title(line.substr(0, line.size() - 1)) + "\n";
        } else if (!line.empty()) {
            paragraph += line + "\n";
        }
    }
    flush();
}

void AddSubcommands(std::string& page, const DocumentedCommand& command)
{
    for (const DocumentedCommand& subcommand : command.subcommands) {
        page += ".SS " + Plain(subcommand.path) + "\n" + Plain(subcommand.description) + ".\n";
        AddOptions(page, subcommand);
        AddSubcommands(page, subcommand);
    }
}

}  // namespace

std::string ManPage(const DocumentedCommand& command, const std::vector<std::string>& others)
{
    const std::string name = PageName(command.path);
    std::string description = command.description;
    while (description.ends_with('.')) {
        description.pop_back();
    }
    std::string page = ".TH " + Plain(Title(name)) + " 1 \"\" \"PelaconSDK " +
                       std::to_string(PELACON_VERSION_MAJOR) + "." +
                       std::to_string(PELACON_VERSION_MINOR) + "." +
                       std::to_string(PELACON_VERSION_PATCH) + "\"\n";
    page += ".SH NAME\n" + Plain(name) + " \\- " + Plain(description) + "\n.SH SYNOPSIS\n";
    const bool isProgram = command.name == command.path;
    if (isProgram) {
        page += ".HP\n\\fB" + Plain(name) + "\\fR\n[\\fIOPTIONS\\fR] \\fICOMMAND\\fR ...\n";
    } else {
        AddSynopsis(page, command);
    }
    page += ".SH DESCRIPTION\n" + Plain(description) + ".\n";
    if (isProgram) {
        for (const DocumentedCommand& subcommand : command.subcommands) {
            page += ".TP\n\\fB" + Plain(PageName(subcommand.path)) + "\\fR(1)\n" +
                    Plain(subcommand.description) + "\n";
        }
    } else {
        AddSubcommands(page, command);
    }
    page += ".SH OPTIONS\n";
    AddOptions(page, command);
    AddFooter(page, command.footer);
    page += ".SH SEE ALSO\n";
    for (const std::string& other : others) {
        page +=
            "\\fB" + Plain(PageName(other)) + "\\fR(1)" + (other == others.back() ? "\n" : ",\n");
    }
    return page;
}

}  // namespace pelacon::ctl
