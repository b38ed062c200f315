// Shell completion: after each command its subcommands and options.
#include <tools/pelaconctl/documents/CommandTree.h>

#include <functional>

namespace pelacon::ctl {

namespace {

/// Calls the visitor with the command and all below it.
void Visit(const DocumentedCommand& command,
           const std::function<void(const DocumentedCommand&)>& visitor)
{
    visitor(command);
    for (const DocumentedCommand& subcommand : command.subcommands) {
        Visit(subcommand, visitor);
    }
}

std::string FirstLine(const std::string& text)
{
    return text.substr(0, text.find('\n'));
}

/// In single quotes, for any of the shells.
std::string Quoted(const std::string& text, const std::string& quote)
{
    std::string quoted = "'";
    for (const char character : text) {
        quoted += character == '\'' ? quote : std::string(1, character);
    }
    return quoted + "'";
}

std::string QuotedForSh(const std::string& text)
{
    return Quoted(text, R"('\'')");
}

/// A word that completes a command line, and its description.
using Visitor = std::function<void(const std::string& word, const std::string& description)>;

/// The words that may follow a command. The program's own options may stand anywhere.
void VisitWords(const DocumentedCommand& program, const DocumentedCommand& command,
                const Visitor& visitor)
{
    for (const DocumentedCommand& subcommand : command.subcommands) {
        visitor(subcommand.name, FirstLine(subcommand.description));
    }
    for (const DocumentedOption& option : command.options) {
        for (const std::string& name : option.names) {
            if (!option.isArgument) {
                visitor(name, FirstLine(option.description));
            }
        }
    }
    for (const DocumentedOption& option : program.options) {
        if (option.names.back() == "--json" && &command != &program) {
            visitor("--json", FirstLine(option.description));
        }
    }
}

/// The paths of all commands below the program, as a pattern of a shell's case.
std::string PathsPattern(const DocumentedCommand& program)
{
    std::string pattern;
    Visit(program, [&](const DocumentedCommand& command) {
        if (&command != &program) {
            pattern += (pattern.empty() ? "'" : "|'") + command.path + "'";
        }
    });
    return pattern;
}

}  // namespace

std::string BashCompletion(const DocumentedCommand& program)
{
    std::string cases;
    Visit(program, [&](const DocumentedCommand& command) {
        std::string words;
        VisitWords(program, command, [&](const std::string& word, const std::string&) {
            words += (words.empty() ? "" : " ") + word;
        });
        cases += "        '" + command.path + "') words='" + words + "' ;;\n";
    });
    return "# bash completion for " + program.name + R"(. Made from its tree of commands.

_pelaconctl()
{
    local path=pelaconctl words= index
    for ((index = 1; index < COMP_CWORD; index++)); do
        case "$path ${COMP_WORDS[index]}" in
        )" +
           PathsPattern(program) +
           R"()
            path="$path ${COMP_WORDS[index]}"
            ;;
        esac
    done
    case "$path" in
)" + cases +
           R"(    esac
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "${COMP_WORDS[COMP_CWORD]}")
}
complete -o default -F _pelaconctl )" +
           program.name + "\n";
}

std::string ZshCompletion(const DocumentedCommand& program)
{
    std::string cases;
    Visit(program, [&](const DocumentedCommand& command) {
        cases += "    '" + command.path + "')\n        entries=(\n";
        VisitWords(program, command, [&](const std::string& word, const std::string& description) {
            cases += "            " + QuotedForSh(word + ":" + description) + "\n";
        });
        cases += "        ) ;;\n";
    });
    return "#compdef " + program.name + "\n# Made from the tree of commands of " + program.name +
           R"(.

local path=pelaconctl word
local -a entries
for word in ${words[2,CURRENT-1]}; do
    case "$path $word" in
    )" + PathsPattern(program) +
           R"()
        path="$path $word"
        ;;
    esac
done
case "$path" in
)" + cases +
           R"(esac
_describe command entries || _files
)";
}

std::string FishCompletion(const DocumentedCommand& program)
{
    std::string lines;
    Visit(program, [&](const DocumentedCommand& command) {
        VisitWords(program, command, [&](const std::string& word, const std::string& description) {
            lines += "complete -c " + program.name + " -n '__pelaconctl_at \"" + command.path +
                     "\"' -a " + Quoted(word, "\\'") + " -d " + Quoted(description, "\\'") + "\n";
        });
    });
    return "# fish completion for " + program.name + R"(. Made from its tree of commands.

function __pelaconctl_at
    set -l path pelaconctl
    set -l words (commandline -opc)
    for word in $words[2..-1]
        switch "$path $word"
            case )" +
           [&] {
               std::string paths;
               Visit(program, [&](const DocumentedCommand& command) {
                   if (&command != &program) {
                       paths += (paths.empty() ? "'" : " '") + command.path + "'";
                   }
               });
               return paths;
           }() +
           R"(
                set path "$path $word"
        end
    end
    test "$path" = "$argv[1]"
end

)" + lines;
}

}  // namespace pelacon::ctl
