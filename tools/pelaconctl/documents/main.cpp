// Writes pelaconctl's man pages and completion scripts into a folder, when pelaconctl is built.
#include <os/CommandLine.h>
#include <tools/pelaconctl/Console.h>
#include <tools/pelaconctl/Program.h>
#include <tools/pelaconctl/documents/CommandTree.h>

#include <CLI/CLI.hpp>

#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using pelacon::ctl::DocumentedCommand;

void Write(const fs::path& file, const std::string& text)
{
    std::ofstream out(file, std::ios::binary);
    out << text;
    out.close();
    if (!out) {
        throw std::runtime_error("cannot write " + file.string());
    }
}

void WriteAll(const fs::path& folder)
{
    pelacon::ctl::Console console;
    const DocumentedCommand program = pelacon::ctl::ReadTree(*pelacon::ctl::MakeProgram(console));
    std::vector<std::string> pages;
    for (const DocumentedCommand& command : program.subcommands) {
        pages.push_back(command.path);
    }
    fs::create_directories(folder / "man");
    Write(folder / "man/pelaconctl.1", pelacon::ctl::ManPage(program, pages));
    for (const DocumentedCommand& command : program.subcommands) {
        Write(folder / "man" / ("pelaconctl-" + command.name + ".1"),
              pelacon::ctl::ManPage(command, {program.path}));
    }
    Write(folder / "pelaconctl.bash", pelacon::ctl::BashCompletion(program));
    Write(folder / "_pelaconctl", pelacon::ctl::ZshCompletion(program));
    Write(folder / "pelaconctl.fish", pelacon::ctl::FishCompletion(program));
}

}  // namespace

int main(int argc, char** argv)
{
    try {
        const std::vector<std::string> arguments = pelacon::os::Arguments(argc, argv);
        if (arguments.size() != 1) {
            std::cerr << "Usage: pelaconctl_documents FOLDER\n";
            return 2;
        }
        WriteAll(arguments[0]);
        return 0;
    } catch (const std::exception& failure) {
        std::cerr << "pelaconctl_documents: " << failure.what() << '\n';
        return 1;
    }
}
