// The tree of commands, as documents need it.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace pelacon::ctl {

struct DocumentedOption {
    std::vector<std::string> names;  ///< "--wait"; of an argument "ADDRESS"
    std::string value;               ///< what follows it, such as "FLOAT"; empty if nothing does
    std::string description;
    bool isArgument = false;
    bool isRequired = false;
    bool isRepeated = false;
};

struct DocumentedCommand {
    std::string path;  ///< "pelaconctl bt status"
    std::string name;  ///< "status"
    std::string description;
    std::string footer;
    std::vector<DocumentedOption> options;
    std::vector<DocumentedCommand> subcommands;
};

/// Reads the tree from the program.
DocumentedCommand ReadTree(const CLI::App& program);

/// The man page of a command with all its subcommands, in section 1. `other` are pages to refer to.
std::string ManPage(const DocumentedCommand& command, const std::vector<std::string>& others);

/// Scripts that complete command lines of the program.
std::string BashCompletion(const DocumentedCommand& program);
std::string ZshCompletion(const DocumentedCommand& program);
std::string FishCompletion(const DocumentedCommand& program);

}  // namespace pelacon::ctl
