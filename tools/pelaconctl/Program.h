// The command line as a tree of commands. Program, man pages and shell completion are made from it.
#pragma once

#include <memory>
#include <string>

namespace CLI {
class App;
}

namespace pelacon::ctl {

class Console;

/// All commands with their options. Their callbacks use the console, which must outlive them.
std::unique_ptr<CLI::App> MakeProgram(Console& console);

/// "pelaconctl service fault"
std::string FullName(const CLI::App& command);

/// The version of this program.
std::string ProgramVersion();

}  // namespace pelacon::ctl
